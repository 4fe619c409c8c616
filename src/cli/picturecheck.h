#pragma once

#include "photolist/photolistmodel.h"
#include "support/status.h"

#include <QString>
#include <functional>
#include <map>

namespace pivotel::cli {

// Looks at the pictures of the list's "As Is" rows whose EXIF orientation leaves the upright
// open, `jobs` at once, and gives each row with a clear cue the suggested action. Returns the
// cue of each such row, by row; fails, changing nothing, when the check is unavailable.
[[nodiscard]] Result<std::map<qint64, QString>> suggestfrompictures(PhotoListModel& list, int jobs,
                                                                    const std::function<bool()>& stopped);

} // namespace pivotel::cli

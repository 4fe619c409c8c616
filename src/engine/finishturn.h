#pragma once

#include "engine/rotation.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>
#include <QStringList>

namespace pivotel {

class ExifTool;

// The steps between a rotator and the commit, on the working file of the photo's rewrite while
// the untouched photo still stands at `photo`: the metadata set upright in the EXIF block (its
// thumbnail turned as the picture was), what followed the picture carried over with its MPF
// index corrected, the metadata tool's part, and last a full check of the result. A failure
// leaves the photo as it was; what else the photo's owner should hear of goes in `notes`. The
// check decodes on up to `threads` threads. The photo and the new content are taken from
// `rotated` where the rotator handed them on, else read from the files.
[[nodiscard]] Status finishturn(const QString& photo, const QString& working, Action action, Rotation rotated,
                                ExifTool& tool, QStringList& notes, int threads = 1);

// Whether finishturn will hand `photo`'s turn to the metadata tool's writing, as far as its
// header tells before the turn; so that the tool can get ready for it while the photo turns.
[[nodiscard]] bool willneedwriters(const QString& photo);

} // namespace pivotel

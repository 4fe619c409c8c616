#pragma once

#include "photolist/liststate.h"

#include <QString>
#include <vector>

namespace pivotel {

// The box at the end of a run: "All Done", or the photos that were missing at their turn (the
// display names of `failedlist`, one to a line) followed by those that could not be turned,
// each with its reason.
QString endofrunmessage(const QString& failedlist, const std::vector<PhotoFailure>& failures);

} // namespace pivotel

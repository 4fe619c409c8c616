#pragma once

#include "engine/runsession.h"

#include <QString>
#include <vector>

namespace pivotel {

// The box at the end of a run: "All Done", or the photos that were missing at their turn (their
// names, one to a line) followed by those that could not be turned, each with its reason.
[[nodiscard]] QString endofrunmessage(const std::vector<PhotoReport>& reports);

} // namespace pivotel

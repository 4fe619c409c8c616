#pragma once

#include "engine/runsession.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace pivotel {

// The box at the end of a run: "All Done", or the photos that were missing at their turn (their
// names, one to a line) followed by those that could not be turned, each with its reason. The
// photos a stop kept from their turn come last, each named as "stopped"; with nothing else to
// tell, the box begins "Stopped".
[[nodiscard]] QString endofrunmessage(const std::vector<PhotoReport>& reports,
                                      const QStringList& stopped = {});

} // namespace pivotel

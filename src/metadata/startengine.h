#pragma once

#include "support/places.h"

#include <QString>

namespace pivotel {

// Runs the metadata tool once with "-ver" and doesn't wait for it, so that its files are warm
// when the first run needs it. A missing tool is skipped in silence. Answers whether it started.
bool startengine(const QString& tool = toolfile());

} // namespace pivotel

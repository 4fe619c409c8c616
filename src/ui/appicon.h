#pragma once

#include <QIcon>

namespace pivotel {

// The program's icon in every size the build drew, for its windows.
QIcon appicon();

} // namespace pivotel

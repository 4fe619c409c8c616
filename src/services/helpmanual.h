#pragma once

#include <QString>

namespace pivotel {

class Desktop;

// The manual in a Resources folder: "pivotel.pdf".
QString helpmanualfile(const QString& resources);
// Hands the manual to the desktop's viewer; a missing manual does nothing.
void openhelpmanual(Desktop& desktop, const QString& resources);

} // namespace pivotel

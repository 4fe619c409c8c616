#pragma once

#include "support/testphotos.h"

namespace pivotel::test {

// Test photos in the colour spaces besides RGB: grey (of the pixels' first channel), and CMYK
// (coded as YCCK) whose cyan, magenta and yellow are the pixels' red, green and blue.
void writegrey(const QString& path, const Pixels& pixels);
void writecmyk(const QString& path, const Pixels& pixels);
// The cyan, magenta and yellow of a CMYK or YCCK photo, as its file stores them.
Pixels decodeinks(const QString& path);

} // namespace pivotel::test

#pragma once

#include "support/testphotos.h"

namespace pivotel::test {

// Test photos in the colour spaces besides RGB: grey (of the pixels' first channel), and CMYK
// of one even tone.
void writegrey(const QString& path, const Pixels& pixels);
void writecmyk(const QString& path, int width, int height);

} // namespace pivotel::test

#pragma once

// Test photos in the colour spaces besides RGB: grey and CMYK.

#include "support/testphotos.h"

namespace pivotel::test {

// A grey JPEG of the pixels' first channel.
void writegrey(const QString& path, const Pixels& pixels);
// A CMYK JPEG of one even tone.
void writecmyk(const QString& path, int width, int height);

} // namespace pivotel::test

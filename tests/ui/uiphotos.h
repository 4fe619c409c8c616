#pragma once

#include <QString>

namespace pivotel::test {

// A JPEG of the test pattern, with an EXIF orientation when one is given (0: no EXIF at all).
// Faster than the metadata tool, which the window's tests would start for every photo.
void writephoto(const QString& path, int width = 48, int height = 32, int orientation = 0);

} // namespace pivotel::test

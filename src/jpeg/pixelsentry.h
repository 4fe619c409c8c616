#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QSize>
#include <QString>

namespace pivotel {

// Decoding, encoding and drawing pixels take Qt Gui, whose libraries (some twenty-five, from X11
// to HarfBuzz) would cost every start of pivotel-cli about 4 ms, more than a tenth of turning a
// phone photo losslessly, which needs none of them. So that code is a module of its own,
// libpivotel-pixels.so, loaded the first time a photo is re-encoded or its EXIF thumbnail drawn
// anew. This is the JPEG layer's part of it; the engine's re-encoding is the other.

// A new EXIF thumbnail drawn in the calling process: what the module runs for makethumbnail.
[[nodiscard]] Result<QByteArray> makethumbnailhere(const QByteArray& jpeg, QSize size, qsizetype room);

// What the module hands the JPEG layer. A module whose `abi` differs is refused.
struct PixelsJpegEntry {
    int abi;
    decltype(&makethumbnailhere) makethumbnail;
};
inline constexpr int pixelsabi = 1;
inline constexpr const char* pixelsjpegsymbol = "pivotel_pixelsjpegentry";

// The module's file: PIVOTEL_PIXELS_MODULE when set, else beside the program as installed
// (PREFIX/lib/pivotel) or in the bundle (Contents/PlugIns).
[[nodiscard]] QString pixelsmodulefile();

} // namespace pivotel

#pragma once

#include "jpeg/coefficientplanes.h"
#include "jpeg/transform.h"

#include <QByteArray>
#include <optional>

namespace pivotel {

// What libjpeg's transcoder writes before the first scan of a turned photo, and the frame it
// describes: everything up to the frame header, made from the source's header as TurboJPEG's
// transform makes it (JFIF or Adobe segment, every APPn and COM segment copied, the Exif image
// size set to the new one, quantisation tables and sampling factors transposed by a quarter turn).
struct TurnedHeader {
    QByteArray bytes;        // SOI through SOF2
    CoefficientPlanes frame; // sizes and table slots; no blocks yet
    int colorspace = 0;      // libjpeg's J_COLOR_SPACE of the frame
    int sourcewidth = 0, sourceheight = 0; // the source frame's size in pixels
};

// Reads the header of the JPEG in `data`. No answer when libjpeg can't read it or it is of a kind
// this writer doesn't make (not 8-bit).
[[nodiscard]] std::optional<TurnedHeader> turnedheader(const QByteArray& data, JpegTransform op,
                                                       EdgePolicy edges);

} // namespace pivotel

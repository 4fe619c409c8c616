#pragma once

#include "jpeg/decode.h"
#include "support/status.h"

#include <QImage>

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace pivotel {

// What a re-encoded photo carries besides its pixels.
struct EncodeSettings {
    int quality = 70;        // 10 to 100
    qint64 dpi = 72;         // written as the JFIF density in dots per inch
    QByteArray colorprofile; // written when not empty
    // Written in order, except those this encoder writes anew: the JFIF header, the colour
    // profile and, but for a CMYK or YCCK picture, Adobe's colour transform marker.
    std::vector<MarkerSegment> segments;
    // The colour space coded in the file; none: YCbCr, or grey for grey pixels. CMYK and YCCK
    // take pixels of C, M, Y, K bytes in a Format_RGBX8888 picture, and keep the Adobe marker
    // of `segments`, which tells readers how the inks are stored.
    std::optional<JpegColorSpace> colorspace;
    // A photo's own sampling and quantization tables, in place of `quality` and the default
    // sampling: the picture is coded again as near to how it was as a re-encoding can be.
    std::optional<JpegCoding> coding;
    bool progressive = false; // else baseline
};

// Pixels handed to the encoder a strip of rows at a time, so that a turned picture need never
// be held whole beside its source.
class RowSource {
  public:
    virtual ~RowSource() = default;
    [[nodiscard]] virtual int width() const = 0;
    [[nodiscard]] virtual int height() const = 0;
    // Format_RGBX8888, Format_RGB888 or Format_Grayscale8.
    [[nodiscard]] virtual QImage::Format format() const = 0;
    [[nodiscard]] virtual int bytesperpixel() const = 0;
    // Writes rows first .. first + count - 1 to `out`, each row `stride` bytes after the one
    // before.
    virtual void copyrows(int first, int count, unsigned char* out, qsizetype stride) const = 0;
};

// Encodes the picture as a JPEG with optimised Huffman tables and writes it to `target`. Grey
// pictures stay grey. At a quality, chroma is halved both ways below 90 and kept whole from 90
// up, where a user asks for the most the format can keep.
[[nodiscard]] Status encodejpeg(const RowSource& picture, const EncodeSettings& settings, const QString& target);

} // namespace pivotel

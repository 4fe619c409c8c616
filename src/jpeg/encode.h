#pragma once

#include "jpeg/decode.h"
#include "support/status.h"

#include <QImage>

#include <QByteArray>
#include <QString>
#include <vector>

namespace pivotel {

// What a re-encoded photo carries besides its pixels.
struct EncodeSettings {
    int quality = 70;        // 10 to 100
    qint64 dpi = 72;         // written as the JFIF density in dots per inch
    QByteArray colorprofile; // written when not empty
    // Written in order, except those this encoder writes anew: the JFIF header, the colour
    // profile and Adobe's colour transform marker.
    std::vector<MarkerSegment> segments;
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

// Encodes the picture as a baseline JPEG with optimised Huffman tables and writes it to
// `target`. Grey pictures stay grey. Chroma is halved both ways below quality 90 and kept whole
// from 90 up, where a user asks for the most the format can keep.
[[nodiscard]] Status encodejpeg(const RowSource& picture, const EncodeSettings& settings, const QString& target);

} // namespace pivotel

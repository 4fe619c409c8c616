#pragma once

// Decoded pictures (QImage) as the tests' pixels, and back.

#include "support/testphotos.h"

#include <QImage>
#include <cstring>

namespace pivotel::test {

// Any picture as RGB; a grey one gives each grey value to all three channels.
inline Pixels pixelsof(const QImage& image) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    Pixels p{rgb.width(), rgb.height(), std::vector<unsigned char>(size_t(rgb.width()) * rgb.height() * 3)};
    for (int y = 0; y < p.height; ++y)
        std::memcpy(&p.rgb[size_t(y) * p.width * 3], rgb.constScanLine(y), size_t(p.width) * 3);
    return p;
}

inline QImage pictureof(const Pixels& pixels) {
    return QImage(pixels.rgb.data(), pixels.width, pixels.height, pixels.width * 3, QImage::Format_RGB888)
        .copy();
}

// A grey picture of the first channel.
inline QImage greypictureof(const Pixels& pixels) {
    QImage image(pixels.width, pixels.height, QImage::Format_Grayscale8);
    for (int y = 0; y < pixels.height; ++y)
        for (int x = 0; x < pixels.width; ++x)
            image.scanLine(y)[x] = pixels.at(x, y)[0];
    return image;
}

} // namespace pivotel::test

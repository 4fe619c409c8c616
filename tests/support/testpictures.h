#pragma once

// Decoded pictures (QImage) as the tests' pixels, and back.

#include "support/testphotos.h"

#include <QImage>
#include <algorithm>
#include <cstring>

namespace pivotel::test {

// Any picture as RGB; a grey one gives each grey value to all three channels.
inline Pixels pixelsof(const QImage& image) {
    Pixels p{image.width(), image.height(),
             std::vector<unsigned char>(size_t(image.width()) * image.height() * 3)};
    const bool grey = image.format() == QImage::Format_Grayscale8;
    const QImage rgb = grey ? image : image.convertToFormat(QImage::Format_RGB888);
    for (int y = 0; y < p.height; ++y) {
        const unsigned char* row = rgb.constScanLine(y);
        unsigned char* out = &p.rgb[size_t(y) * p.width * 3];
        if (!grey) {
            std::memcpy(out, row, size_t(p.width) * 3);
            continue;
        }
        for (int x = 0; x < p.width; ++x)
            std::fill_n(out + x * 3, 3, row[x]);
    }
    return p;
}

inline QImage pictureof(const Pixels& pixels) {
    QImage image(pixels.width, pixels.height, QImage::Format_RGB888);
    for (int y = 0; y < pixels.height; ++y)
        std::memcpy(image.scanLine(y), pixels.at(0, y), size_t(pixels.width) * 3);
    return image;
}

// A grey picture of the first channel.
inline QImage greypictureof(const Pixels& pixels) {
    QImage image(pixels.width, pixels.height, QImage::Format_Grayscale8);
    for (int y = 0; y < pixels.height; ++y) {
        for (int x = 0; x < pixels.width; ++x)
            image.scanLine(y)[x] = pixels.at(x, y)[0];
    }
    return image;
}

} // namespace pivotel::test

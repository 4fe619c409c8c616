#pragma once

// Test photos in the colour spaces besides RGB: grey and CMYK.

#include "support/testphotos.h"
#include "jpeg/turbojpeg.h"

#include <stdexcept>

namespace pivotel::test {

namespace detail {

inline void encode(const QString& path, const unsigned char* pixels, int width, int height, int format,
                   int sampling) {
    const TjHandle tj(tjInitCompress());
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(tj.get(), pixels, width, 0, height, format, &jpeg, &size, sampling, 95,
                               TJFLAG_ACCURATEDCT);
    const TjBuffer owned(jpeg);
    if (rc != 0)
        throw std::runtime_error("encode failed: " + path.toStdString());
    writebytes(path, QByteArray(reinterpret_cast<const char*>(jpeg), qsizetype(size)));
}
} // namespace detail

// A grey JPEG of the pixels' first channel.
inline void writegrey(const QString& path, const Pixels& pixels) {
    std::vector<unsigned char> grey(size_t(pixels.width) * pixels.height);
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = pixels.rgb[i * 3];
    detail::encode(path, grey.data(), pixels.width, pixels.height, TJPF_GRAY, TJSAMP_GRAY);
}

// A CMYK JPEG of one even tone.
inline void writecmyk(const QString& path, int width, int height) {
    const std::vector<unsigned char> cmyk(size_t(width) * height * 4, 90);
    detail::encode(path, cmyk.data(), width, height, TJPF_CMYK, TJSAMP_444);
}

} // namespace pivotel::test

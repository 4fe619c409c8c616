#pragma once

// What the header of an encoded JPEG says about how it was encoded.

#include "jpeg/segments.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <array>
#include <map>
#include <stdexcept>

namespace pivotel::test {

struct JpegStructure {
    int frame = 0; // the SOFn marker: 0xC0 baseline, 0xC2 progressive
    int components = 0;
    std::map<int, int> quantdc;                       // table number -> first (DC) value
    std::map<int, std::array<int, 16>> huffmancounts; // class << 4 | number -> codes per length
};

inline JpegStructure jpegstructure(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        throw std::runtime_error("no JPEG header in " + path.toStdString());
    JpegStructure s;
    for (const HeaderSegment& segment : headersegments(header.value())) {
        const auto* body = reinterpret_cast<const unsigned char*>(segment.body().data());
        const unsigned char* end = body + segment.body().size();
        const int marker = segment.marker;
        if (marker == 0xDB) {
            for (const unsigned char* t = body; t < end;) {
                const bool sixteen = (*t >> 4) != 0;
                s.quantdc[*t & 0x0F] = sixteen ? (t[1] << 8 | t[2]) : t[1];
                t += 1 + (sixteen ? 128 : 64);
            }
        } else if (marker == 0xC4) {
            for (const unsigned char* t = body; t < end;) {
                std::array<int, 16> counts{};
                int total = 0;
                for (int i = 0; i < 16; ++i)
                    total += counts[size_t(i)] = t[1 + i];
                s.huffmancounts[*t] = counts;
                t += 17 + total;
            }
        } else if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
            s.frame = marker;
            s.components = body[5];
        }
    }
    return s;
}

} // namespace pivotel::test

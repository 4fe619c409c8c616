#pragma once

#include <QtGlobal>
#include <array>
#include <vector>

namespace pivotel {

// How a photo's picture is coded, beyond its colour space: what an encoder needs to code a
// picture again at the photo's own quality and sampling.
struct JpegCoding {
    struct Component {
        int hsampling = 1;
        int vsampling = 1;
        int table = 0; // the number of its quantization table

        bool operator==(const Component&) const = default;
    };
    std::vector<Component> components;
    // The quantization tables by number, 64 steps each in natural (row by row) order; empty
    // where the photo defines none.
    std::array<std::vector<quint16>, 4> tables;

    // The coding of the picture turned by a quarter: the sampling factors swap, and each table's
    // steps for a row frequency and a column frequency trade places, so that every coefficient
    // keeps the step it had before the turn.
    [[nodiscard]] JpegCoding transposed() const;
    bool operator==(const JpegCoding&) const = default;
};

} // namespace pivotel

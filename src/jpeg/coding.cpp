#include "jpeg/coding.h"

#include <utility>

namespace pivotel {

JpegCoding JpegCoding::transposed() const {
    JpegCoding turned = *this;
    for (Component& component : turned.components)
        std::swap(component.hsampling, component.vsampling);
    for (std::vector<quint16>& table : turned.tables) {
        if (table.size() != 64)
            continue;
        for (size_t row = 0; row < 8; ++row)
            for (size_t column = row + 1; column < 8; ++column)
                std::swap(table[row * 8 + column], table[column * 8 + row]);
    }
    return turned;
}

} // namespace pivotel

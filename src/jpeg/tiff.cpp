#include "jpeg/tiff.h"

namespace pivotel {

namespace {

constexpr quint16 typeshort = 3;
constexpr quint16 typelong = 4;
constexpr quint16 typerational = 5;

} // namespace

TiffBlock::TiffBlock(unsigned char* data, qsizetype size) : data_(data), writable_(data), size_(size) {
    open();
}

TiffBlock::TiffBlock(const unsigned char* data, qsizetype size) : data_(data), size_(size) {
    open();
}

void TiffBlock::open() {
    if (size_ < 8)
        return;
    if (data_[0] == 'M' && data_[1] == 'M')
        bigendian_ = true;
    else if (data_[0] != 'I' || data_[1] != 'I')
        return;
    if (read16(2) != 42)
        return;
    const quint32 ifd = read32(4);
    if (ifd >= 8 && ifd <= quint32(size_) && size_ - qsizetype(ifd) >= 2)
        ifd0_ = qsizetype(ifd);
}

quint16 TiffBlock::read16(qsizetype at) const {
    const unsigned char* p = data_ + at;
    return bigendian_ ? static_cast<quint16>(p[0] << 8 | p[1]) : static_cast<quint16>(p[1] << 8 | p[0]);
}

quint32 TiffBlock::read32(qsizetype at) const {
    const unsigned char* p = data_ + at;
    return bigendian_ ? (quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | p[3])
                      : (quint32(p[3]) << 24 | quint32(p[2]) << 16 | quint32(p[1]) << 8 | p[0]);
}

void TiffBlock::write16(qsizetype at, quint16 value) {
    if (!writable_)
        return;
    unsigned char* p = writable_ + at;
    p[bigendian_ ? 0 : 1] = static_cast<unsigned char>(value >> 8);
    p[bigendian_ ? 1 : 0] = static_cast<unsigned char>(value);
}

void TiffBlock::write32(qsizetype at, quint32 value) {
    if (!writable_)
        return;
    unsigned char* p = writable_ + at;
    for (int i = 0; i < 4; ++i)
        p[bigendian_ ? 3 - i : i] = static_cast<unsigned char>(value >> (8 * i));
}

qsizetype TiffBlock::nextifd(qsizetype ifd) const {
    if (ifd < 0)
        return -1;
    const qsizetype link = ifd + 2 + qsizetype(read16(ifd)) * 12;
    if (link + 4 > size_)
        return -1;
    const quint32 next = read32(link);
    if (next < 8 || next > quint32(size_) || size_ - qsizetype(next) < 2)
        return -1;
    return qsizetype(next);
}

bool TiffBlock::ifdfits(qsizetype ifd) const {
    return ifd >= 0 && ifd + 2 <= size_ && ifd + 2 + qsizetype(read16(ifd)) * 12 <= size_;
}

qsizetype TiffBlock::subifd(qsizetype ifd, quint16 tag) const {
    const auto offset = integer(ifd, tag);
    if (!offset || *offset < 8 || *offset > quint32(size_) || size_ - qsizetype(*offset) < 2)
        return -1;
    return qsizetype(*offset);
}

qsizetype TiffBlock::find(qsizetype ifd, quint16 tag) const {
    if (ifd < 0)
        return -1;
    const quint32 count = read16(ifd);
    for (quint32 i = 0; i < count; ++i) {
        const qsizetype entry = ifd + 2 + qsizetype(i) * 12;
        if (entry + 12 > size_)
            return -1;
        if (read16(entry) == tag)
            return entry;
    }
    return -1;
}

std::optional<quint32> TiffBlock::integer(qsizetype ifd, quint16 tag) const {
    const qsizetype entry = find(ifd, tag);
    if (entry < 0 || read32(entry + 4) != 1)
        return std::nullopt;
    const quint16 type = read16(entry + 2);
    if (type == typeshort) // stored in the first two bytes of the value field
        return read16(entry + 8);
    if (type == typelong)
        return read32(entry + 8);
    return std::nullopt;
}

std::optional<double> TiffBlock::rational(qsizetype ifd, quint16 tag) const {
    const qsizetype entry = find(ifd, tag);
    if (entry < 0 || read16(entry + 2) != typerational)
        return std::nullopt;
    const quint32 offset = read32(entry + 8);
    if (offset > quint32(size_) || size_ - qsizetype(offset) < 8)
        return std::nullopt;
    const quint32 denominator = read32(qsizetype(offset) + 4);
    if (denominator == 0)
        return std::nullopt;
    return double(read32(qsizetype(offset))) / double(denominator);
}

bool TiffBlock::setinteger(qsizetype ifd, quint16 tag, quint32 value) {
    const qsizetype entry = find(ifd, tag);
    if (!writable_ || entry < 0 || read32(entry + 4) != 1)
        return false;
    const quint16 type = read16(entry + 2);
    if (type == typeshort && value <= 0xFFFF) {
        write16(entry + 8, quint16(value));
        return true;
    }
    if (type == typelong) {
        write32(entry + 8, value);
        return true;
    }
    return false;
}

} // namespace pivotel

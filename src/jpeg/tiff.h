#pragma once

#include <QtGlobal>
#include <optional>

namespace pivotel {

// A TIFF structure as an EXIF block holds it (the bytes after "Exif\0\0"): its IFDs, their
// entries and values, read and, for values that fit their entry, written in place. Every offset
// is checked against the block's size, so a damaged block reads as missing entries, never out of
// bounds.
class TiffBlock {
  public:
    static constexpr quint16 orientation = 0x0112;
    static constexpr quint16 xresolution = 0x011A;
    static constexpr quint16 yresolution = 0x011B;
    static constexpr quint16 resolutionunit = 0x0128;
    static constexpr quint16 exififd = 0x8769;
    static constexpr quint16 thumbnailoffset = 0x0201;
    static constexpr quint16 thumbnaillength = 0x0202;
    static constexpr quint16 pixelxdimension = 0xA002;
    static constexpr quint16 pixelydimension = 0xA003;

    // `data` stays the caller's; `size` bytes of it are the block. A block made of const data
    // is only read: its writers answer false or do nothing.
    TiffBlock(unsigned char* data, qsizetype size);
    TiffBlock(const unsigned char* data, qsizetype size);

    bool valid() const { return ifd0_ >= 0; }
    bool bigendian() const { return bigendian_; }
    qsizetype size() const { return size_; }

    // Offsets of IFDs within the block, or -1 when there is none.
    qsizetype ifd0() const { return ifd0_; }
    qsizetype nextifd(qsizetype ifd) const;
    // Whether every entry of `ifd` lies within the block.
    bool ifdfits(qsizetype ifd) const;
    // The IFD an entry of `ifd` (a LONG offset such as the Exif IFD's) points at, or -1.
    qsizetype subifd(qsizetype ifd, quint16 tag) const;

    // The position of the tag's 12-byte entry in `ifd`, or -1.
    qsizetype find(qsizetype ifd, quint16 tag) const;
    // A SHORT or LONG value of count 1.
    std::optional<quint32> integer(qsizetype ifd, quint16 tag) const;
    // A RATIONAL value; none when its denominator is 0.
    std::optional<double> rational(qsizetype ifd, quint16 tag) const;
    // Writes a SHORT or LONG value in place; false when the entry is missing, of another type, or
    // its type can't hold the value.
    bool setinteger(qsizetype ifd, quint16 tag, quint32 value);

    quint16 read16(qsizetype at) const;
    quint32 read32(qsizetype at) const;
    void write16(qsizetype at, quint16 value);
    void write32(qsizetype at, quint32 value);

  private:
    void open();

    const unsigned char* data_;
    unsigned char* writable_ = nullptr;
    qsizetype size_;
    bool bigendian_ = false;
    qsizetype ifd0_ = -1;
};

} // namespace pivotel

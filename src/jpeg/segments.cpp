#include "jpeg/segments.h"

#include "support/fileio.h"

#include <QFile>
#include <cstring>

namespace pivotel {

namespace {

// Caps the header walk: no real photo has 64 MB of markers before its image data.
constexpr qint64 maxheaderbytes = qint64(64) * 1024 * 1024;

bool isstandalone(unsigned char marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

quint16 read16(const unsigned char* p, bool bigendian) {
    return bigendian ? static_cast<quint16>(p[0] << 8 | p[1]) : static_cast<quint16>(p[1] << 8 | p[0]);
}

quint32 read32(const unsigned char* p, bool bigendian) {
    return bigendian ? (quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | p[3])
                     : (quint32(p[3]) << 24 | quint32(p[2]) << 16 | quint32(p[1]) << 8 | p[0]);
}

// IFD0 of a TIFF structure, as the EXIF block holds it.
class TiffIfd0 {
  public:
    TiffIfd0(const unsigned char* tiff, qsizetype size) : tiff_(tiff), size_(size) {
        if (size < 8)
            return;
        if (tiff[0] == 'M' && tiff[1] == 'M')
            bigendian_ = true;
        else if (tiff[0] == 'I' && tiff[1] == 'I')
            bigendian_ = false;
        else
            return;
        if (read16(tiff + 2, bigendian_) != 42)
            return;
        const quint32 ifd = read32(tiff + 4, bigendian_);
        if (ifd > quint32(size) || size - qsizetype(ifd) < 2)
            return;
        ifd_ = qsizetype(ifd);
        count_ = read16(tiff + ifd, bigendian_);
    }

    // A SHORT or LONG value.
    std::optional<quint32> integer(quint16 tag) const {
        const qsizetype entry = find(tag);
        if (entry < 0)
            return std::nullopt;
        const quint16 type = read16(tiff_ + entry + 2, bigendian_);
        if (type == 3) // SHORT, stored in the first two bytes of the value field
            return read16(tiff_ + entry + 8, bigendian_);
        if (type == 4) // LONG
            return read32(tiff_ + entry + 8, bigendian_);
        return std::nullopt;
    }

    // A RATIONAL value; none when its denominator is 0.
    std::optional<double> rational(quint16 tag) const {
        const qsizetype entry = find(tag);
        if (entry < 0 || read16(tiff_ + entry + 2, bigendian_) != 5)
            return std::nullopt;
        const quint32 offset = read32(tiff_ + entry + 8, bigendian_);
        if (offset > quint32(size_) || size_ - qsizetype(offset) < 8)
            return std::nullopt;
        const quint32 numerator = read32(tiff_ + offset, bigendian_);
        const quint32 denominator = read32(tiff_ + offset + 4, bigendian_);
        if (denominator == 0)
            return std::nullopt;
        return double(numerator) / double(denominator);
    }

  private:
    // The position of the tag's 12-byte entry, or -1.
    qsizetype find(quint16 tag) const {
        for (quint32 i = 0; i < count_; ++i) {
            const qsizetype entry = ifd_ + 2 + qsizetype(i) * 12;
            if (entry + 12 > size_)
                return -1;
            if (read16(tiff_ + entry, bigendian_) == tag)
                return entry;
        }
        return -1;
    }

    const unsigned char* tiff_;
    qsizetype size_;
    bool bigendian_ = false;
    qsizetype ifd_ = 0;
    quint32 count_ = 0; // no entries when the structure isn't TIFF
};

constexpr quint16 orientationtag = 0x0112;
constexpr quint16 yresolutiontag = 0x011B;
constexpr quint16 resolutionunittag = 0x0128;

} // namespace

Result<QByteArray> readjpegheader(const QString& path) {
    Result<UniqueFd> opened = openregular(path);
    if (!opened)
        return opened.status();
    QFile file;
    if (!file.open(opened.value().release(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return Status::failure(file.errorString());
    QByteArray header = file.read(2);
    if (header.size() != 2 || uchar(header[0]) != 0xFF || uchar(header[1]) != 0xD8)
        return Status::failure(QStringLiteral("not a JPEG file"));
    qint64 stray = 0;
    while (header.size() + stray < maxheaderbytes) {
        char c = 0;
        if (!file.getChar(&c))
            return Status::failure(QStringLiteral("the JPEG header ends early"));
        // Stray bytes before a marker are passed over, as libjpeg passes them with a warning.
        if (uchar(c) != 0xFF) {
            ++stray;
            continue;
        }
        unsigned char marker = 0xFF;
        while (marker == 0xFF) { // fill bytes may stand before a marker
            if (!file.getChar(&c))
                return Status::failure(QStringLiteral("the JPEG header ends early"));
            marker = uchar(c);
        }
        header.append(char(0xFF));
        header.append(char(marker));
        if (marker == 0xD9)
            return Status::failure(QStringLiteral("the JPEG file holds no image"));
        if (isstandalone(marker))
            continue;
        const QByteArray lengthbytes = file.read(2);
        if (lengthbytes.size() != 2)
            return Status::failure(QStringLiteral("the JPEG header ends early"));
        const int length = uchar(lengthbytes[0]) << 8 | uchar(lengthbytes[1]);
        if (length < 2)
            return Status::failure(QStringLiteral("the JPEG header is damaged"));
        const QByteArray body = file.read(length - 2);
        if (body.size() != length - 2)
            return Status::failure(QStringLiteral("the JPEG header ends early"));
        header.append(lengthbytes);
        header.append(body);
        if (marker == 0xDA) // start of scan: the header is complete
            return header;
    }
    return Status::failure(QStringLiteral("the JPEG header is too large"));
}

std::vector<HeaderSegment> headersegments(const QByteArray& header) {
    std::vector<HeaderSegment> segments;
    const auto* bytes = reinterpret_cast<const unsigned char*>(header.constData());
    qsizetype pos = 2;
    while (pos + 2 <= header.size() && bytes[pos] == 0xFF) {
        const unsigned char marker = bytes[pos + 1];
        qsizetype end = pos + 2;
        if (!isstandalone(marker)) {
            if (pos + 4 > header.size())
                break;
            end = pos + 2 + (bytes[pos + 2] << 8 | bytes[pos + 3]);
            if (end > header.size())
                break;
        }
        segments.push_back({marker, QByteArrayView(header).sliced(pos, end - pos)});
        if (marker == 0xDA)
            break;
        pos = end;
    }
    return segments;
}

Result<qsizetype> pictureend(QByteArrayView data) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    const qsizetype size = data.size();
    if (size < 2 || bytes[0] != 0xFF || bytes[1] != 0xD8)
        return Status::failure(QStringLiteral("not a JPEG file"));
    qsizetype pos = 2;
    bool inscan = false;
    while (pos < size) {
        if (bytes[pos] != 0xFF) {
            if (!inscan)
                return Status::failure(QStringLiteral("the JPEG data is damaged"));
            ++pos; // entropy-coded data
            continue;
        }
        qsizetype next = pos + 1;
        while (next < size && bytes[next] == 0xFF) // fill bytes
            ++next;
        if (next >= size)
            break;
        const unsigned char marker = bytes[next];
        if (inscan && (marker == 0x00 || (marker >= 0xD0 && marker <= 0xD7))) {
            pos = next + 1; // a stuffed byte or a restart marker: still in the scan
            continue;
        }
        if (marker == 0xD9)
            return next + 1;
        if (isstandalone(marker)) {
            pos = next + 1;
            continue;
        }
        if (next + 3 > size)
            break;
        const qsizetype length = bytes[next + 1] << 8 | bytes[next + 2];
        if (length < 2)
            return Status::failure(QStringLiteral("the JPEG data is damaged"));
        pos = next + 1 + length;
        inscan = marker == 0xDA;
    }
    return Status::failure(QStringLiteral("the JPEG data ends before the picture does"));
}

std::optional<int> exiforientation(const QByteArray& header) {
    for (const HeaderSegment& segment : headersegments(header)) {
        const QByteArrayView body = segment.body();
        if (segment.marker == 0xE1 && body.startsWith(QByteArrayView("Exif\0\0", 6))) {
            const auto value =
                TiffIfd0(reinterpret_cast<const unsigned char*>(body.data()) + 6, body.size() - 6)
                    .integer(orientationtag);
            return value ? std::optional<int>(int(*value)) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<double> exifdpi(const QByteArray& app1body) {
    if (app1body.size() < 6 || std::memcmp(app1body.constData(), "Exif\0\0", 6) != 0)
        return std::nullopt;
    const TiffIfd0 ifd0(reinterpret_cast<const unsigned char*>(app1body.constData()) + 6,
                        app1body.size() - 6);
    const auto resolution = ifd0.rational(yresolutiontag);
    if (!resolution || !(*resolution > 0))
        return std::nullopt;
    // ResolutionUnit: 2 inches (also when absent), 3 centimetres, 1 none.
    const quint32 unit = ifd0.integer(resolutionunittag).value_or(2);
    if (unit == 2)
        return *resolution;
    if (unit == 3)
        return *resolution * 2.54;
    return std::nullopt;
}

} // namespace pivotel

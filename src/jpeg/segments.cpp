#include "jpeg/segments.h"

#include "jpeg/tiff.h"
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

// The TIFF structure of an APP1 "Exif" segment's body, or an invalid one.
TiffBlock exifblock(QByteArrayView body) {
    if (!body.startsWith(QByteArrayView("Exif\0\0", 6)))
        return TiffBlock(static_cast<const unsigned char*>(nullptr), 0);
    return TiffBlock(reinterpret_cast<const unsigned char*>(body.data()) + 6, body.size() - 6);
}

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

qsizetype codeddataend(QByteArrayView data, qsizetype from) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    const qsizetype size = data.size();
    for (qsizetype pos = from; pos < size;) {
        const void* found = std::memchr(bytes + pos, 0xFF, std::size_t(size - pos));
        if (found == nullptr)
            return size;
        pos = static_cast<const unsigned char*>(found) - bytes;
        qsizetype next = pos + 1;
        while (next < size && bytes[next] == 0xFF) // fill bytes
            ++next;
        if (next >= size || (bytes[next] != 0x00 && (bytes[next] < 0xD0 || bytes[next] > 0xD7)))
            return pos;
        pos = next + 1; // a stuffed byte or a restart marker: still in the scan
    }
    return size;
}

Result<qsizetype> pictureend(QByteArrayView data) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    const qsizetype size = data.size();
    if (size < 2 || bytes[0] != 0xFF || bytes[1] != 0xD8)
        return Status::failure(QStringLiteral("not a JPEG file"));
    qsizetype pos = 2;
    while (pos < size) {
        if (bytes[pos] != 0xFF) {
            ++pos; // stray bytes before a marker, which decoders skip too
            continue;
        }
        qsizetype next = pos + 1;
        while (next < size && bytes[next] == 0xFF) // fill bytes
            ++next;
        if (next >= size)
            break;
        const unsigned char marker = bytes[next];
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
        if (marker == 0xDA)
            pos = codeddataend(data, pos);
    }
    return Status::failure(QStringLiteral("the JPEG data ends before the picture does"));
}

bool iswholeexif(QByteArrayView app1body) {
    const TiffBlock tiff = exifblock(app1body);
    return tiff.valid() && tiff.ifdfits(tiff.ifd0());
}

std::optional<int> exiforientation(const QByteArray& header) {
    for (const HeaderSegment& segment : headersegments(header)) {
        const QByteArrayView body = segment.body();
        if (segment.marker == 0xE1 && iswholeexif(body)) {
            const TiffBlock tiff = exifblock(body);
            const auto value = tiff.integer(tiff.ifd0(), TiffBlock::orientation);
            return value ? std::optional<int>(int(*value)) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<double> exifdpi(const QByteArray& app1body) {
    const TiffBlock tiff = exifblock(app1body);
    const auto resolution = tiff.rational(tiff.ifd0(), TiffBlock::yresolution);
    if (!resolution || !(*resolution > 0))
        return std::nullopt;
    // ResolutionUnit: 2 inches (also when absent), 3 centimetres, 1 none.
    const quint32 unit = tiff.integer(tiff.ifd0(), TiffBlock::resolutionunit).value_or(2);
    if (unit == 2)
        return *resolution;
    if (unit == 3)
        return *resolution * 2.54;
    return std::nullopt;
}

} // namespace pivotel

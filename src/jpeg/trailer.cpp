#include "jpeg/trailer.h"

#include "jpeg/segments.h"
#include "jpeg/tiff.h"

namespace pivotel {

namespace {

const QByteArrayView mpfsignature("MPF\0", 4);
constexpr quint16 mpentrytag = 0xB002;
constexpr qsizetype entrysize = 16;

// The MP index of a file: where its TIFF structure starts in the file (the base of every
// offset) and how long it is, and where its entries stand in it.
struct MpIndex {
    qsizetype base = -1;
    qsizetype size = 0;
    qsizetype entries = -1; // the first entry's offset from the base
    qsizetype count = 0;
};

MpIndex mpindex(const QByteArray& jpeg) {
    for (const HeaderSegment& segment : headersegments(jpeg)) {
        const QByteArrayView body = segment.body();
        if (segment.marker != 0xE2 || !body.startsWith(mpfsignature))
            continue;
        MpIndex index;
        index.base = body.data() + mpfsignature.size() - jpeg.constData();
        index.size = body.size() - mpfsignature.size();
        const TiffBlock tiff(reinterpret_cast<const unsigned char*>(jpeg.constData()) + index.base,
                             index.size);
        const qsizetype entry = tiff.find(tiff.ifd0(), mpentrytag);
        if (entry < 0)
            return MpIndex{};
        const quint32 bytes = tiff.read32(entry + 4);
        const quint32 offset = tiff.read32(entry + 8);
        if (offset > quint32(tiff.size()) || bytes > quint32(tiff.size()) - offset)
            return MpIndex{};
        index.entries = qsizetype(offset);
        index.count = qsizetype(bytes) / entrysize;
        return index;
    }
    return MpIndex{};
}

// The fields of one MP entry that locate its picture.
struct MpEntry {
    quint32 size = 0;
    quint32 offset = 0; // 0 for the first picture, which is the file's own
};

MpEntry readentry(const QByteArray& jpeg, const MpIndex& index, qsizetype i) {
    const TiffBlock tiff(reinterpret_cast<const unsigned char*>(jpeg.constData()) + index.base, index.size);
    const qsizetype at = index.entries + i * entrysize;
    return {tiff.read32(at + 4), tiff.read32(at + 8)};
}

void writeentry(QByteArray& jpeg, const MpIndex& index, qsizetype i, MpEntry entry) {
    TiffBlock tiff(reinterpret_cast<unsigned char*>(jpeg.data()) + index.base, index.size);
    const qsizetype at = index.entries + i * entrysize;
    tiff.write32(at + 4, entry.size);
    tiff.write32(at + 8, entry.offset);
}

bool startspicture(QByteArrayView data, qint64 at) {
    return at >= 0 && at + 2 <= data.size() && uchar(data[at]) == 0xFF && uchar(data[at + 1]) == 0xD8;
}

} // namespace

Result<QByteArrayView> trailerof(QByteArrayView jpeg) {
    const auto end = pictureend(jpeg);
    if (!end)
        return end.status();
    return jpeg.sliced(*end);
}

Status carrytrailer(const QByteArray& original, QByteArrayView trailer, QByteArray& turned) {
    const qsizetype oldend = original.size() - trailer.size();
    const qsizetype newend = turned.size();
    const MpIndex before = mpindex(original);
    const MpIndex after = mpindex(turned);
    if ((before.entries < 0) != (after.entries < 0) || before.count != after.count)
        return Status::failure(QStringLiteral("its multi-picture index didn't come over whole"));
    for (qsizetype i = 0; i < after.count; ++i) {
        MpEntry entry = readentry(original, before, i);
        if (entry.offset == 0) {
            if (entry.size != 0) // the first picture: this file's own
                entry.size = quint32(newend);
        } else {
            const qint64 at = before.base + qint64(entry.offset);
            if (at < oldend || !startspicture(original, at))
                return Status::failure(
                    QStringLiteral("its multi-picture index points at data that isn't a further picture"));
            entry.offset = quint32(at - oldend + newend - after.base);
        }
        writeentry(turned, after, i, entry);
    }
    turned.append(trailer.data(), trailer.size());
    return Status::success();
}

Status checkmpf(const QByteArray& jpeg) {
    const MpIndex index = mpindex(jpeg);
    for (qsizetype i = 0; i < index.count; ++i) {
        const MpEntry entry = readentry(jpeg, index, i);
        const qint64 at = entry.offset == 0 ? 0 : index.base + qint64(entry.offset);
        if (entry.size != 0 && (!startspicture(jpeg, at) || at + qint64(entry.size) > jpeg.size()))
            return Status::failure(QStringLiteral("its multi-picture index doesn't point at its pictures"));
    }
    return Status::success();
}

} // namespace pivotel

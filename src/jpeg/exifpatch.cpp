#include "jpeg/exifpatch.h"

#include "jpeg/exifthumbnail.h"
#include "jpeg/segments.h"
#include "jpeg/tiff.h"

#include <QString>
#include <algorithm>
#include <cmath>

namespace pivotel {

namespace {

const QByteArrayView exifsignature("Exif\0\0", 6);
const QByteArrayView jfifsignature("JFIF\0", 5);
const QByteArrayView xmpsignature("http://ns.adobe.com/xap/1.0/\0", 29);
const QByteArrayView xmpextension("http://ns.adobe.com/xmp/extension/\0", 35);

// Whether an XMP segment may hold a property that a turn changes: an orientation or a picture
// size (tiff:Orientation, tiff:ImageWidth and ImageLength, exif:PixelXDimension and
// PixelYDimension). Any mention of one of the names counts, in any case, as does a packet that
// isn't plain UTF-8 or that continues in extension segments, whose pieces can split a name.
bool mayholdturnedproperties(QByteArrayView body) {
    if (body.startsWith(xmpextension))
        return true;
    const QByteArray packet = body.sliced(xmpsignature.size()).toByteArray().toLower();
    if (packet.contains('\0'))
        return true;
    for (const char* name :
         {"orientation", "imagewidth", "imagelength", "pixelxdimension", "pixelydimension"}) {
        if (packet.contains(name))
            return true;
    }
    return false;
}

// Where a segment of `jpeg` stands, from its 0xFF.
struct Place {
    qsizetype start = -1;
    qsizetype length = 0; // the whole segment's bytes
};

Place placeof(const QByteArray& jpeg, const HeaderSegment& segment) {
    return {segment.bytes.data() - jpeg.constData(), segment.bytes.size()};
}

bool isframe(unsigned char marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// The largest EXIF segment: its length field counts itself and the "Exif\0\0" before the block.
constexpr qsizetype largestblock = 0xFFFF - 2 - 6;

// Where in the TIFF block a thumbnail of `size` bytes goes in place of the one at `offset`, so
// that nothing else in the block moves: in the old one's place when it ends the block or has
// room, else after the block's end. -1 when the EXIF segment can't grow to hold it.
qsizetype thumbnailplace(qsizetype blocksize, qsizetype offset, qsizetype length, qsizetype size) {
    if (offset + length == blocksize)
        return offset + size <= largestblock ? offset : -1;
    if (size <= length)
        return offset;
    const qsizetype after = blocksize + (blocksize & 1); // TIFF offsets are even
    return after + size <= largestblock ? after : -1;
}

// The most bytes a new thumbnail may take.
qsizetype thumbnailroom(qsizetype blocksize, qsizetype offset, qsizetype length) {
    if (offset + length == blocksize)
        return largestblock - offset;
    return std::max(length, largestblock - blocksize - (blocksize & 1));
}

// The TIFF block with its IFD1 thumbnail replaced by `thumbnail`, placed at `at`.
QByteArray withthumbnail(QByteArray tiffbytes, qsizetype ifd1, qsizetype offset, qsizetype length,
                         qsizetype at, const QByteArray& thumbnail) {
    if (at == offset && offset + length == tiffbytes.size())
        tiffbytes.truncate(offset);
    if (at == offset && at < tiffbytes.size()) {
        // What is left of the old one's place is cleared.
        tiffbytes.replace(at, length, thumbnail + QByteArray(length - thumbnail.size(), '\0'));
    } else {
        tiffbytes.resize(at, '\0');
        tiffbytes.append(thumbnail);
    }
    TiffBlock tiff(reinterpret_cast<unsigned char*>(tiffbytes.data()), tiffbytes.size());
    (void)tiff.setinteger(ifd1, TiffBlock::thumbnailoffset, quint32(at));
    (void)tiff.setinteger(ifd1, TiffBlock::thumbnaillength, quint32(thumbnail.size()));
    return tiffbytes;
}

// A thumbnail's size when none can be read from it: EXIF's own 160 by 120, as the photo lies.
QSize defaultthumbnail(QSize photo) {
    return photo.width() >= photo.height() ? QSize(160, 120) : QSize(120, 160);
}

std::optional<ExifResolution> exifresolution(const TiffBlock& tiff) {
    const auto x = tiff.rational(tiff.ifd0(), TiffBlock::xresolution);
    const auto y = tiff.rational(tiff.ifd0(), TiffBlock::yresolution);
    const quint32 unit = tiff.integer(tiff.ifd0(), TiffBlock::resolutionunit).value_or(2);
    // Unit 1 (none) makes the two values an aspect ratio: still the photo's own, kept as they are.
    if (!x || !y || !(*x > 0) || !(*y > 0) || unit < 1 || unit > 3)
        return std::nullopt;
    return ExifResolution{*x, *y, int(unit)};
}

// JFIF: version (2 bytes), units (0 none, 1 per inch, 2 per cm), X density, Y density.
constexpr qsizetype jfifunits = 4 + 7;

std::optional<ExifResolution> jfifresolution(const QByteArray& jpeg, Place jfif) {
    if (jfif.start < 0 || jfif.length < jfifunits + 5)
        return std::nullopt;
    const auto* p = reinterpret_cast<const unsigned char*>(jpeg.constData()) + jfif.start + jfifunits;
    const int x = p[1] << 8 | p[2];
    const int y = p[3] << 8 | p[4];
    if ((p[0] != 1 && p[0] != 2) || x == 0 || y == 0)
        return std::nullopt;
    return ExifResolution{double(x), double(y), p[0] == 1 ? 2 : 3};
}

void setjfif(QByteArray& jpeg, Place jfif, const ExifResolution& resolution) {
    if (jfif.start < 0 || jfif.length < jfifunits + 5)
        return;
    auto* p = reinterpret_cast<unsigned char*>(jpeg.data()) + jfif.start + jfifunits;
    const auto density = [](double value) {
        return quint16(std::clamp<long>(std::lround(value), 1, 65535));
    };
    const quint16 x = density(resolution.x);
    const quint16 y = density(resolution.y);
    p[0] = uchar(resolution.unit - 1); // JFIF counts its units from 0 for none
    p[1] = uchar(x >> 8);
    p[2] = uchar(x);
    p[3] = uchar(y >> 8);
    p[4] = uchar(y);
}

} // namespace

Result<UprightPatch> setupright(QByteArray& jpeg, JpegTransform thumbnailturn) {
    UprightPatch patch;
    Place exif, jfif;
    for (const HeaderSegment& segment : headersegments(jpeg)) {
        const QByteArrayView body = segment.body();
        if (isframe(segment.marker) && body.size() >= 5) {
            const auto* p = reinterpret_cast<const unsigned char*>(body.data());
            patch.size = QSize(p[3] << 8 | p[4], p[1] << 8 | p[2]);
        } else if (segment.marker == 0xE0 && jfif.start < 0 && body.startsWith(jfifsignature)) {
            jfif = placeof(jpeg, segment);
        } else if (segment.marker == 0xE1 && exif.start < 0 && iswholeexif(body)) {
            exif = placeof(jpeg, segment);
        } else if (segment.marker == 0xE1 &&
                   (body.startsWith(xmpsignature) || body.startsWith(xmpextension))) {
            patch.hasxmp = patch.hasxmp || mayholdturnedproperties(body);
        }
    }
    if (patch.size.isEmpty())
        return Status::failure(QStringLiteral("the turned photo has no frame header"));

    std::optional<ExifResolution> resolution;
    if (exif.start >= 0) {
        const qsizetype tiffstart = exif.start + 4 + exifsignature.size();
        TiffBlock tiff(reinterpret_cast<unsigned char*>(jpeg.data()) + tiffstart,
                       exif.start + exif.length - tiffstart);
        const qsizetype ifd0 = tiff.ifd0();
        patch.orientationset = tiff.setinteger(ifd0, TiffBlock::orientation, 1);
        if (tiff.find(ifd0, TiffBlock::orientation) >= 0 && !patch.orientationset)
            return Status::failure(QStringLiteral("its EXIF orientation has a form that can't be set"));
        const qsizetype exififd = tiff.subifd(ifd0, TiffBlock::exififd);
        for (const auto& [tag, value] : {std::pair{TiffBlock::pixelxdimension, patch.size.width()},
                                         std::pair{TiffBlock::pixelydimension, patch.size.height()}}) {
            if (tiff.find(exififd, tag) >= 0 && !tiff.setinteger(exififd, tag, quint32(value)))
                patch.dimensionsset = false;
        }
        resolution = exifresolution(tiff);

        const qsizetype ifd1 = tiff.nextifd(ifd0);
        const auto offset = tiff.integer(ifd1, TiffBlock::thumbnailoffset);
        const auto length = tiff.integer(ifd1, TiffBlock::thumbnaillength);
        if (thumbnailturn != JpegTransform::None && offset && length && *length > 0 &&
            *offset <= quint32(tiff.size()) && *length <= quint32(tiff.size()) - *offset) {
            const QByteArray block(jpeg.constData() + tiffstart, tiff.size());
            const qsizetype at = *offset, oldlength = *length;
            const QByteArrayView old = QByteArrayView(block).sliced(at, oldlength);
            // A thumbnail that can't be turned, or whose turned form doesn't fit, is made anew
            // from the turned photo: a thumbnail never stops a turn.
            QByteArray thumbnail;
            const auto turned = turnthumbnail(old, thumbnailturn);
            if (turned && thumbnailplace(block.size(), at, oldlength, turned->size()) >= 0) {
                thumbnail = *turned;
            } else {
                QSize size = thumbnailsize(old).value_or(QSize());
                if (transposes(thumbnailturn))
                    size.transpose();
                if (size.isEmpty())
                    size = defaultthumbnail(patch.size);
                const auto made = makethumbnail(jpeg, size, thumbnailroom(block.size(), at, oldlength));
                if (made) {
                    thumbnail = *made;
                    patch.thumbnailnote = QStringLiteral("thumbnail made anew");
                } else {
                    patch.thumbnailnote =
                        QStringLiteral("its EXIF thumbnail was left as it was (%1)").arg(made.reason());
                }
            }
            if (!thumbnail.isEmpty()) {
                const QByteArray newblock =
                    withthumbnail(block, ifd1, at, oldlength,
                                  thumbnailplace(block.size(), at, oldlength, thumbnail.size()), thumbnail);
                const qsizetype segmentlength = 2 + exifsignature.size() + newblock.size();
                jpeg.replace(tiffstart, tiff.size(), newblock);
                jpeg[exif.start + 2] = char(segmentlength >> 8);
                jpeg[exif.start + 3] = char(segmentlength & 0xFF);
                if (jfif.start > exif.start)
                    jfif.start += newblock.size() - tiff.size();
            }
        }
    }
    if (!resolution) {
        resolution = jfifresolution(jpeg, jfif).value_or(ExifResolution{});
        patch.missingresolution = resolution;
    }
    setjfif(jpeg, jfif, *resolution);
    return patch;
}

} // namespace pivotel

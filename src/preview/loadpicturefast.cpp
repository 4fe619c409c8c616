#include "preview/loadpicturefast.h"

#include "photolist/extensions.h"
#include "support/fileio.h"
#include "support/turbojpeg.h"

#include <QImageReader>

namespace pivotel {

namespace {

bool isjpegdata(const QByteArray& data) {
    return data.size() >= 3 && uchar(data[0]) == 0xFF && uchar(data[1]) == 0xD8 && uchar(data[2]) == 0xFF;
}

// The decoder's scaled size of `size` by `factor`, rounded up as the decoder rounds it.
QSize scaledsize(QSize size, tjscalingfactor factor) {
    return {TJSCALED(size.width(), factor), TJSCALED(size.height(), factor)};
}

// The smallest reduction of `photo` that still covers `shown` both ways. The halvings are
// the decoder's quickest reductions, done inside its inverse DCT.
QSize reducedsize(QSize photo, QSize shown) {
    for (const int denominator : {8, 4, 2}) {
        const QSize reduced = scaledsize(photo, tjscalingfactor{1, denominator});
        if (reduced.width() >= shown.width() && reduced.height() >= shown.height())
            return reduced;
    }
    return photo;
}

ReducedPicture decodejpeg(const QByteArray& data, const std::function<QSize(QSize)>& shownsize) {
    const TjHandle tj(tjInitDecompress());
    if (!tj)
        return {};
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    const auto size = static_cast<unsigned long>(data.size());
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(tj.get(), bytes, size, &width, &height, &subsampling, &colorspace) != 0)
        return {};
    // The decoder can't make RGB of CMYK; a guessed conversion would show false colours.
    if (colorspace == TJCS_CMYK || colorspace == TJCS_YCCK || width < 1 || height < 1)
        return {};
    const QSize photo(width, height);
    const QSize decoded = shownsize ? reducedsize(photo, shownsize(photo)) : photo;
    QImage image(decoded, QImage::Format_RGB888);
    if (image.isNull())
        return {};
    if (tjDecompress2(tj.get(), bytes, size, image.bits(), decoded.width(), int(image.bytesPerLine()),
                      decoded.height(), TJPF_RGB, TJFLAG_FASTDCT) != 0 &&
        tjGetErrorCode(tj.get()) != TJERR_WARNING)
        return {};
    return {image, photo};
}

ReducedPicture decodebyplugin(const QString& path) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return {image.convertToFormat(QImage::Format_RGB888), image.size()};
}

ReducedPicture decodefile(const QString& path, const std::function<QSize(QSize)>& shownsize) {
    const bool jpegname = hasextension(path, extensions::loadpicturefast());
    if (!jpegname && !hasextension(path, extensions::heic()))
        return {};
    const auto data = readwholefile(path);
    if (!data)
        return {};
    if (jpegname || isjpegdata(*data))
        return decodejpeg(*data, shownsize);
    return decodebyplugin(path);
}

} // namespace

QImage loadpicturefast(const QString& path) {
    return decodefile(path, nullptr).picture;
}

ReducedPicture loadpicturefast(const QString& path, const std::function<QSize(QSize)>& shownsize) {
    return decodefile(path, shownsize);
}

} // namespace pivotel

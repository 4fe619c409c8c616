#include "preview/loadpicturefast.h"

#include "photolist/extensions.h"
#include "support/fileio.h"

#include <QImageReader>
#include <memory>
#include <turbojpeg.h>

namespace pivotel {

namespace {

struct TjDestroy {
    void operator()(void* handle) const { tjDestroy(handle); }
};

bool isjpegdata(const QByteArray& data) {
    return data.size() >= 3 && uchar(data[0]) == 0xFF && uchar(data[1]) == 0xD8 && uchar(data[2]) == 0xFF;
}

QImage decodejpeg(const QByteArray& data) {
    const std::unique_ptr<void, TjDestroy> tj(tjInitDecompress());
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
    QImage image(width, height, QImage::Format_RGB888);
    if (image.isNull())
        return {};
    if (tjDecompress2(tj.get(), bytes, size, image.bits(), width, int(image.bytesPerLine()), height, TJPF_RGB,
                      TJFLAG_FASTDCT) != 0 &&
        tjGetErrorCode(tj.get()) != TJERR_WARNING)
        return {};
    return image;
}

QImage decodebyplugin(const QString& path) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    const QImage image = reader.read();
    return image.isNull() ? QImage() : image.convertToFormat(QImage::Format_RGB888);
}

} // namespace

QImage loadpicturefast(const QString& path) {
    const bool jpegname = hasextension(path, extensions::loadpicturefast());
    if (!jpegname && !hasextension(path, extensions::heic()))
        return {};
    const auto data = readwholefile(path);
    if (!data)
        return {};
    if (jpegname || isjpegdata(*data))
        return decodejpeg(*data);
    return decodebyplugin(path);
}

} // namespace pivotel

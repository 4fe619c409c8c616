#include "preview/loadpicturefast.h"

#include "jpeg/decode.h"
#include "photolist/extensions.h"
#include "support/fileio.h"

#include <QImageReader>

namespace pivotel {

namespace {

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
        return decodereduced(*data, shownsize);
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

#include "preview/loadpicturefast.h"

#include "jpeg/decode.h"
#include "photolist/extensions.h"
#include "support/fileio.h"

#include <QImageReader>
#include <unistd.h>

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

// True when the file's first bytes are those of JPEG data.
bool holdsjpeg(const QString& path) {
    const Result<UniqueFd> file = openregular(path);
    QByteArray start(3, '\0');
    return file && ::read(file.value().get(), start.data(), 3) == 3 && isjpegdata(start);
}

ReducedPicture decodefile(const QString& path, const std::function<QSize(QSize)>& shownsize) {
    const bool jpegname = hasextension(path, extensions::loadpicturefast());
    if (!jpegname && !hasextension(path, extensions::heic()))
        return {};
    if (jpegname || holdsjpeg(path))
        return decodereduced(path, shownsize);
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

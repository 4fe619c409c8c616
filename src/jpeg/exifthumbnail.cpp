#include "jpeg/exifthumbnail.h"

#include "jpeg/pixelsentry.h"
#include "jpeg/transformop.h"
#include "jpeg/turbojpeg.h"
#include "support/modulefile.h"

namespace pivotel {


Result<QByteArray> turnthumbnail(QByteArrayView thumbnail, JpegTransform op) {
    TjTransformed turned = tjtransformbytes(thumbnail, transformop(op), TJXOPT_TRIM, true);
    if (!turned.error.isEmpty())
        return Status::failure(turned.error);
    return std::move(turned.bytes);
}

std::optional<QSize> thumbnailsize(QByteArrayView thumbnail) {
    const TjHandle tj(tjInitDecompress());
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (!tj ||
        tjDecompressHeader3(tj.get(), reinterpret_cast<const unsigned char*>(thumbnail.data()),
                            static_cast<unsigned long>(thumbnail.size()), &width, &height, &subsampling,
                            &colorspace) != 0 ||
        width < 1 || height < 1)
        return std::nullopt;
    return QSize(width, height);
}

Result<QByteArray> makethumbnail(const QByteArray& jpeg, QSize size, qsizetype room) {
    static ModuleTable<PixelsJpegEntry> table(pixelsmodulefile, pixelsjpegsymbol, pixelsabi);
    const auto entry = table.get();
    if (!entry)
        return entry.status();
    return entry.value()->makethumbnail(jpeg, size, room);
}

QString pixelsmodulefile() {
    return modulefile(QStringLiteral("libpivotel-pixels.so"), "PIVOTEL_PIXELS_MODULE");
}

} // namespace pivotel

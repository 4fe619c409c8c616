#include "photolist/probes.h"

#include "photolist/jpegheader.h"
#include "photolist/labels.h"
#include "support/turbojpeg.h"

namespace pivotel {

bool isvalid(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        return false;
    const TjHandle tj(tjInitDecompress());
    if (!tj)
        return false;
    int width = 0, height = 0, subsamp = 0, colorspace = 0;
    if (tjDecompressHeader3(tj.get(), reinterpret_cast<const unsigned char*>(header->constData()),
                            static_cast<unsigned long>(header->size()), &width, &height, &subsamp,
                            &colorspace) != 0)
        return false;
    return width >= 1 && height >= 1;
}

QString getorientation(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        return label::fail;
    const auto orientation = exiforientation(*header);
    return labelfororientation(orientation ? QString::number(*orientation) : QStringLiteral("1"));
}

} // namespace pivotel

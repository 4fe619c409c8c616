#include "jpeg/probe.h"

#include "jpeg/segments.h"
#include "jpeg/turbojpeg.h"

namespace pivotel {

namespace {

JpegColorSpace colorspace(int tjcolorspace) {
    switch (tjcolorspace) {
    case TJCS_RGB:
        return JpegColorSpace::Rgb;
    case TJCS_GRAY:
        return JpegColorSpace::Grey;
    case TJCS_CMYK:
        return JpegColorSpace::Cmyk;
    case TJCS_YCCK:
        return JpegColorSpace::Ycck;
    default:
        return JpegColorSpace::YCbCr;
    }
}

JpegSampling sampling(int tjsampling) {
    switch (tjsampling) {
    case TJSAMP_444:
        return JpegSampling::S444;
    case TJSAMP_422:
        return JpegSampling::S422;
    case TJSAMP_420:
        return JpegSampling::S420;
    case TJSAMP_GRAY:
        return JpegSampling::Grey;
    case TJSAMP_440:
        return JpegSampling::S440;
    case TJSAMP_411:
        return JpegSampling::S411;
    default:
        return JpegSampling::Other;
    }
}

} // namespace

Result<JpegProbe> probejpeg(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        return header.status();
    return probejpegdata(*header);
}

Result<JpegProbe> probejpegdata(const QByteArray& header) {
    const TjHandle tj(tjInitDecompress());
    if (!tj)
        return Status::failure(QStringLiteral("the JPEG library can't start"));
    int width = 0, height = 0, subsamp = -1, space = 0;
    if (tjDecompressHeader3(tj.get(), reinterpret_cast<const unsigned char*>(header.constData()),
                            static_cast<unsigned long>(header.size()), &width, &height, &subsamp, &space) != 0)
        return Status::failure(
            QStringLiteral("the JPEG header can't be read (%1)").arg(QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))));
    if (width < 1 || height < 1)
        return Status::failure(QStringLiteral("the JPEG header gives no picture size"));
    return JpegProbe{{width, height}, colorspace(space), sampling(subsamp), exiforientation(header)};
}

} // namespace pivotel

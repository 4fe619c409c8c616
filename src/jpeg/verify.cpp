#include "jpeg/verify.h"

#include "jpeg/scancheck.h"
#include "jpeg/segments.h"
#include "jpeg/trailer.h"
#include "jpeg/turbojpeg.h"

#include <vector>

namespace pivotel {

namespace {

Status failed(const QString& what) {
    return Status::failure(QStringLiteral("the new file failed its check: ") + what);
}

} // namespace

Status checkjpeg(const QByteArray& data, const ExpectedPicture& expected, int threads) {
    const auto end = pictureend(data);
    if (!end)
        return failed(end.reason());
    if (QByteArrayView(data).sliced(*end) != expected.trailer)
        return failed(QStringLiteral("what followed the picture didn't come over unchanged"));
    if (Status mpf = checkmpf(data); !mpf)
        return failed(mpf.reason());
    const auto probe = probejpegdata(data);
    if (!probe)
        return failed(probe.reason());
    if (probe->size != expected.size)
        return failed(QStringLiteral("it is %1×%2 pixels, not %3×%4")
                          .arg(probe->size.width())
                          .arg(probe->size.height())
                          .arg(expected.size.width())
                          .arg(expected.size.height()));
    if (probe->colorspace != expected.colorspace)
        return failed(QStringLiteral("its colour space changed"));

    const ScanCheck scans = decodescans(QByteArrayView(data).first(*end), threads);
    if (scans.verdict == ScanCheck::Damaged)
        return failed(scans.reason);
    if (scans.verdict == ScanCheck::Decoded)
        return Status::success();

    const TjHandle tj(tjInitDecompress());
    if (!tj)
        return Status::failure(QStringLiteral("the JPEG library can't start"));
    const tjscalingfactor eighth{1, 8};
    const int width = TJSCALED(probe->size.width(), eighth);
    const int height = TJSCALED(probe->size.height(), eighth);
    const bool fourcomponents =
        probe->colorspace == JpegColorSpace::Cmyk || probe->colorspace == JpegColorSpace::Ycck;
    const int format = fourcomponents ? TJPF_CMYK : TJPF_RGB;
    std::vector<unsigned char> pixels(size_t(width) * size_t(height) * size_t(tjPixelSize[format]));
    if (tjDecompress2(tj.get(), reinterpret_cast<const unsigned char*>(data.constData()),
                      static_cast<unsigned long>(*end), pixels.data(), width, 0, height, format,
                      TJFLAG_STOPONWARNING) != 0)
        return failed(QString::fromLocal8Bit(tjGetErrorStr2(tj.get())));
    return Status::success();
}

} // namespace pivotel

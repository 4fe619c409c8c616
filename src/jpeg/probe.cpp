#include "jpeg/probe.h"

#include "jpeg/datasource.h"
#include "jpeg/jpegerror.h"
#include "jpeg/segments.h"
#include "jpeg/turbojpeg.h"

#include <climits>

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

// libjpeg's own reading of a header whose sampling TurboJPEG can't name (inks sampled 2x2, 1x1,
// 1x1, 2x2, say): libjpeg decodes and transforms such photos all the same.
class HeaderRead {
  public:
    HeaderRead() { info_.err = error_.install(); }
    ~HeaderRead() { jpeg_destroy_decompress(&info_); }
    HeaderRead(const HeaderRead&) = delete;
    HeaderRead& operator=(const HeaderRead&) = delete;

    bool read(const QByteArray& header) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_decompress(&info_);
        jpegdatasource(&info_, header);
        jpeg_read_header(&info_, TRUE);
        return true;
    }
    const jpeg_decompress_struct& info() const { return info_; }
    QString message() const { return error_.text(); }

  private:
    JpegError error_;
    jpeg_decompress_struct info_{};
};

} // namespace

JpegColorSpace codedcolorspace(int libjpegspace) {
    switch (libjpegspace) {
    case JCS_GRAYSCALE:
        return JpegColorSpace::Grey;
    case JCS_RGB:
        return JpegColorSpace::Rgb;
    case JCS_CMYK:
        return JpegColorSpace::Cmyk;
    case JCS_YCCK:
        return JpegColorSpace::Ycck;
    default:
        return JpegColorSpace::YCbCr;
    }
}

qint64 coefficientbytes(const JpegProbe& probe) {
    const int components =
        probe.colorspace == JpegColorSpace::Grey                                               ? 1
        : probe.colorspace == JpegColorSpace::Cmyk || probe.colorspace == JpegColorSpace::Ycck ? 4
                                                                                               : 3;
    // The largest sampling factors, and the blocks of an MCU: the first component at those
    // factors, the others at one block each; inks may sample every component fully.
    int h = 1, v = 1;
    switch (probe.sampling) {
    case JpegSampling::S422:
        h = 2;
        break;
    case JpegSampling::S420:
        h = v = 2;
        break;
    case JpegSampling::S440:
        v = 2;
        break;
    case JpegSampling::S411:
        h = 4;
        break;
    default: // 4:4:4, grey, and sampling TurboJPEG doesn't name, counted at full size
        break;
    }
    const qint64 blocks = components == 4 ? qint64(components) * h * v : qint64(h) * v + components - 1;
    const qint64 mcuwidth = 8LL * h, mcuheight = 8LL * v;
    const qint64 across = (qint64(probe.size.width()) + mcuwidth - 1) / mcuwidth;
    const qint64 down = (qint64(probe.size.height()) + mcuheight - 1) / mcuheight;
    return across * down * blocks * 64 * 2;
}

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
    JpegProbe probe;
    if (tjDecompressHeader3(tj.get(), reinterpret_cast<const unsigned char*>(header.constData()),
                            static_cast<unsigned long>(header.size()), &width, &height, &subsamp,
                            &space) == 0) {
        probe = {{width, height}, colorspace(space), sampling(subsamp), std::nullopt};
    } else {
        HeaderRead read;
        if (!read.read(header))
            return Status::failure(QStringLiteral("the JPEG header can't be read (%1)").arg(read.message()));
        const jpeg_decompress_struct& info = read.info();
        probe.size = QSize(int(qMin<JDIMENSION>(info.image_width, INT_MAX)),
                           int(qMin<JDIMENSION>(info.image_height, INT_MAX)));
        probe.colorspace = codedcolorspace(info.jpeg_color_space);
    }
    if (probe.size.width() < 1 || probe.size.height() < 1)
        return Status::failure(QStringLiteral("the JPEG header gives no picture size"));
    probe.orientation = exiforientation(header);
    return probe;
}

} // namespace pivotel

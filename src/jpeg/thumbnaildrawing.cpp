#include "jpeg/datasource.h"
#include "jpeg/jpegerror.h"
#include "jpeg/pixelsentry.h"
#include "jpeg/turbojpeg.h"

#include <QImage>
#include <QPainter>

namespace pivotel {

namespace {

// Decodes a photo at the smallest of libjpeg's reductions that still covers a box, as RGB.
class ReducedDecode {
  public:
    ReducedDecode() { info_.err = error_.install(); }
    ~ReducedDecode() { jpeg_destroy_decompress(&info_); }
    ReducedDecode(const ReducedDecode&) = delete;
    ReducedDecode& operator=(const ReducedDecode&) = delete;

    bool start(const QByteArray& jpeg, QSize box) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_decompress(&info_);
        jpegdatasource(&info_, jpeg);
        jpeg_read_header(&info_, TRUE);
        inks_ = info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK;
        // Adobe's programs store inks inverted, and say so with their marker.
        inverted_ = info_.saw_Adobe_marker;
        info_.out_color_space = inks_ ? JCS_CMYK : JCS_EXT_RGBX;
        info_.scale_num = 1;
        info_.scale_denom = 1;
        for (const unsigned denominator : {8u, 4u, 2u}) {
            if (info_.image_width / denominator >= unsigned(box.width()) &&
                info_.image_height / denominator >= unsigned(box.height())) {
                info_.scale_denom = denominator;
                break;
            }
        }
        jpeg_start_decompress(&info_);
        return true;
    }
    QSize size() const { return QSize(int(info_.output_width), int(info_.output_height)); }

    bool readrows(QImage& image) {
        if (setjmp(error_.jump))
            return false;
        while (info_.output_scanline < info_.output_height) {
            JSAMPROW row = image.scanLine(int(info_.output_scanline));
            jpeg_read_scanlines(&info_, &row, 1);
        }
        jpeg_finish_decompress(&info_);
        return true;
    }

    // Inks as the screen would show them, roughly: a thumbnail is only a sign of the picture.
    void inkstorgb(QImage& image) const {
        if (!inks_)
            return;
        for (int y = 0; y < image.height(); ++y) {
            uchar* p = image.scanLine(y);
            for (int x = 0; x < image.width(); ++x, p += 4) {
                const int k = inverted_ ? p[3] : 255 - p[3];
                for (int c = 0; c < 3; ++c)
                    p[c] = uchar((inverted_ ? p[c] : 255 - p[c]) * k / 255);
                p[3] = 255;
            }
        }
    }

    QString message() const { return error_.text(); }

  private:
    JpegError error_;
    jpeg_decompress_struct info_{};
    bool inks_ = false, inverted_ = false;
};

Result<QImage> reducedpicture(const QByteArray& jpeg, QSize box) {
    ReducedDecode decode;
    if (!decode.start(jpeg, box))
        return Status::failure(QStringLiteral("the photo can't be decoded (%1)").arg(decode.message()));
    QImage image(decode.size(), QImage::Format_RGBX8888);
    if (image.isNull() || !decode.readrows(image))
        return Status::failure(QStringLiteral("the photo can't be decoded (%1)").arg(decode.message()));
    decode.inkstorgb(image);
    return image;
}

// Baseline 4:2:0 without TurboJPEG's JFIF segment: an EXIF thumbnail carries no segments.
std::optional<QByteArray> encodethumbnail(const QImage& picture, int quality) {
    const TjHandle tj(tjInitCompress());
    if (!tj)
        return std::nullopt;
    unsigned char* output = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(tj.get(), picture.constBits(), picture.width(), int(picture.bytesPerLine()),
                               picture.height(), TJPF_RGBX, &output, &size, TJSAMP_420, quality, 0);
    const TjBuffer owned(output);
    if (rc != 0 || !output)
        return std::nullopt;
    QByteArray bytes(reinterpret_cast<const char*>(output), qsizetype(size));
    if (bytes.size() > 6 && uchar(bytes[2]) == 0xFF && uchar(bytes[3]) == 0xE0)
        bytes.remove(2, 2 + (uchar(bytes[4]) << 8 | uchar(bytes[5])));
    return bytes;
}

} // namespace

Result<QByteArray> makethumbnailhere(const QByteArray& jpeg, QSize size, qsizetype room) {
    if (size.isEmpty())
        return Status::failure(QStringLiteral("no size for it"));
    const auto reduced = reducedpicture(jpeg, size);
    if (!reduced)
        return reduced.status();
    QImage thumbnail(size, QImage::Format_RGBX8888);
    thumbnail.fill(Qt::black);
    {
        const QImage fitted = reduced->scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QPainter painter(&thumbnail);
        painter.drawImage(QPoint((size.width() - fitted.width()) / 2, (size.height() - fitted.height()) / 2),
                          fitted);
    }
    for (int quality = 90; quality >= 10; quality -= 10) {
        auto bytes = encodethumbnail(thumbnail, quality);
        if (!bytes)
            return Status::failure(QStringLiteral("it can't be encoded"));
        if (bytes->size() <= room)
            return std::move(*bytes);
    }
    return Status::failure(QStringLiteral("no room for it in the EXIF block"));
}

} // namespace pivotel

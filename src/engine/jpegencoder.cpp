#include "engine/jpegencoder.h"

#include "preview/jpegerror.h"
#include "support/fileio.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace pivotel {

namespace {

struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileClose>;

bool startswith(const QByteArray& body, const char* prefix, qsizetype length) {
    return body.size() >= length && std::memcmp(body.constData(), prefix, size_t(length)) == 0;
}

// Segments that libjpeg writes itself, or that describe the old encoding.
bool writtenanew(const MarkerSegment& segment) {
    if (segment.marker == JPEG_APP0)
        return startswith(segment.body, "JFIF\0", 5) || startswith(segment.body, "JFXX\0", 5);
    if (segment.marker == JPEG_APP0 + 2)
        return startswith(segment.body, "ICC_PROFILE\0", 12);
    if (segment.marker == JPEG_APP0 + 14)
        return startswith(segment.body, "Adobe", 5);
    return false;
}

// One compression. Every method that calls libjpeg sets the jump target first and answers
// false when libjpeg gave up; message() says why.
class Compression {
  public:
    Compression() { info_.err = error_.install(); }
    ~Compression() { jpeg_destroy_compress(&info_); } // safe also when never created
    Compression(const Compression&) = delete;
    Compression& operator=(const Compression&) = delete;

    QString message() const { return error_.text(); }

    bool start(const TurnedPicture& picture, const EncodeSettings& settings, std::FILE* file) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_compress(&info_);
        jpeg_stdio_dest(&info_, file);
        info_.image_width = JDIMENSION(picture.width());
        info_.image_height = JDIMENSION(picture.height());
        info_.input_components = picture.bytesperpixel();
        info_.in_color_space = picture.isgrey() ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, settings.quality, TRUE);
        info_.optimize_coding = TRUE;
        if (!picture.isgrey() && settings.quality >= 90) {
            info_.comp_info[0].h_samp_factor = 1;
            info_.comp_info[0].v_samp_factor = 1;
        }
        info_.write_JFIF_header = TRUE;
        info_.density_unit = 1;
        info_.X_density = UINT16(std::clamp<qint64>(settings.dpi, 1, 65535));
        info_.Y_density = info_.X_density;
        jpeg_start_compress(&info_, TRUE);
        for (const MarkerSegment& segment : settings.segments) {
            if (!writtenanew(segment))
                jpeg_write_marker(&info_, segment.marker,
                                  reinterpret_cast<const JOCTET*>(segment.body.constData()),
                                  unsigned(segment.body.size()));
        }
        if (!settings.colorprofile.isEmpty())
            jpeg_write_icc_profile(&info_, reinterpret_cast<const JOCTET*>(settings.colorprofile.constData()),
                                   unsigned(settings.colorprofile.size()));
        return true;
    }

    // `strip` holds `striprows` rows of `stride` bytes.
    bool writerows(const TurnedPicture& picture, unsigned char* strip, qsizetype stride, int striprows) {
        if (setjmp(error_.jump))
            return false;
        constexpr int maxrows = 64;
        JSAMPROW rows[maxrows];
        const int batch = std::min(striprows, maxrows);
        for (int k = 0; k < batch; ++k)
            rows[k] = strip + k * stride;
        while (info_.next_scanline < info_.image_height) {
            const int first = int(info_.next_scanline);
            const int count = std::min(batch, picture.height() - first);
            picture.copyrows(first, count, strip, stride);
            // A file destination never suspends, so every row is taken.
            jpeg_write_scanlines(&info_, rows, JDIMENSION(count));
        }
        return true;
    }

    bool finish() {
        if (setjmp(error_.jump))
            return false;
        jpeg_finish_compress(&info_);
        return true;
    }

  private:
    JpegError error_;
    jpeg_compress_struct info_{};
};

} // namespace

Status encodejpeg(const TurnedPicture& picture, const EncodeSettings& settings, const QString& target) {
    FilePtr file(std::fopen(QFile::encodeName(target).constData(), "wb"));
    if (!file)
        return Status::failure(QStringLiteral("the new photo can't be written (%1)").arg(errnotext(errno)));

    // Enough rows for one row of MCUs at any sampling, so libjpeg takes each strip whole.
    constexpr int striprows = 16;
    const qsizetype stride = qsizetype(picture.width()) * picture.bytesperpixel();
    std::vector<unsigned char> strip(size_t(stride) * striprows);

    Compression compression;
    if (!compression.start(picture, settings, file.get()) ||
        !compression.writerows(picture, strip.data(), stride, striprows) || !compression.finish())
        return Status::failure(QStringLiteral("can't be encoded (%1)").arg(compression.message()));

    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) || std::fclose(file.release()) != 0)
        return Status::failure(QStringLiteral("the new photo can't be written (%1)").arg(errnotext(errno)));
    return Status::success();
}

} // namespace pivotel

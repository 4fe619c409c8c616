#include "jpeg/encode.h"

#include "jpeg/jpegerror.h"
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

J_COLOR_SPACE colorspace(QImage::Format format) {
    switch (format) {
    case QImage::Format_Grayscale8:
        return JCS_GRAYSCALE;
    case QImage::Format_RGB888:
        return JCS_EXT_RGB;
    default:
        return JCS_EXT_RGBX;
    }
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

    bool start(const RowSource& picture, const EncodeSettings& settings, std::FILE* file) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_compress(&info_);
        jpeg_stdio_dest(&info_, file);
        info_.image_width = JDIMENSION(picture.width());
        info_.image_height = JDIMENSION(picture.height());
        info_.input_components = picture.bytesperpixel();
        info_.in_color_space = colorspace(picture.format());
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, settings.quality, TRUE);
        info_.optimize_coding = TRUE;
        if (info_.in_color_space != JCS_GRAYSCALE && settings.quality >= 90) {
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

    // `strip` holds `rows.size()` rows, which `rows` point to.
    bool writerows(const RowSource& picture, std::vector<JSAMPROW>& rows, qsizetype stride) {
        if (setjmp(error_.jump))
            return false;
        unsigned char* strip = rows.front();
        const int striprows = int(rows.size());
        while (info_.next_scanline < info_.image_height) {
            const int first = int(info_.next_scanline);
            const int count = std::min(striprows, picture.height() - first);
            picture.copyrows(first, count, strip, stride);
            // A file destination never suspends, so every row is taken.
            jpeg_write_scanlines(&info_, rows.data(), JDIMENSION(count));
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

Status encodejpeg(const RowSource& picture, const EncodeSettings& settings, const QString& target) {
    FilePtr file(std::fopen(QFile::encodeName(target).constData(), "wb"));
    if (!file)
        return Status::failure(QStringLiteral("the new photo can't be written (%1)").arg(errnotext(errno)));

    // Whole rows of MCUs at any sampling; tall enough that a quarter turn reads long runs of
    // each source row (a few megabytes at most).
    constexpr int striprows = 128;
    const qsizetype stride = qsizetype(picture.width()) * picture.bytesperpixel();
    std::vector<unsigned char> strip(size_t(stride) * striprows);
    std::vector<JSAMPROW> rows(striprows);
    for (int k = 0; k < striprows; ++k)
        rows[size_t(k)] = strip.data() + k * stride;

    Compression compression;
    if (!compression.start(picture, settings, file.get()) || !compression.writerows(picture, rows, stride) ||
        !compression.finish())
        return Status::failure(QStringLiteral("can't be encoded (%1)").arg(compression.message()));

    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) || std::fclose(file.release()) != 0)
        return Status::failure(QStringLiteral("the new photo can't be written (%1)").arg(errnotext(errno)));
    return Status::success();
}

} // namespace pivotel

#include "jpeg/encode.h"

#include "jpeg/jpegerror.h"
#include "support/fileio.h"
#include "support/nativepath.h"

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

bool isinks(std::optional<JpegColorSpace> space) {
    return space == JpegColorSpace::Cmyk || space == JpegColorSpace::Ycck;
}

bool isadobe(const MarkerSegment& segment) {
    return segment.marker == JPEG_APP0 + 14 && startswith(segment.body, "Adobe", 5);
}

// Segments that libjpeg writes itself, or that describe the old encoding. The Adobe marker of
// inks coded as they were coded stays: it says how they are stored.
bool writtenanew(const MarkerSegment& segment, const EncodeSettings& settings) {
    if (segment.marker == JPEG_APP0)
        return startswith(segment.body, "JFIF\0", 5) || startswith(segment.body, "JFXX\0", 5);
    if (segment.marker == JPEG_APP0 + 2)
        return startswith(segment.body, "ICC_PROFILE\0", 12);
    if (isadobe(segment))
        return !isinks(settings.colorspace);
    return false;
}

J_COLOR_SPACE inputspace(QImage::Format format, const EncodeSettings& settings) {
    if (isinks(settings.colorspace))
        return JCS_CMYK;
    switch (format) {
    case QImage::Format_Grayscale8:
        return JCS_GRAYSCALE;
    case QImage::Format_RGB888:
        return JCS_EXT_RGB;
    default:
        return JCS_EXT_RGBX;
    }
}

J_COLOR_SPACE codedspace(JpegColorSpace space) {
    switch (space) {
    case JpegColorSpace::Grey:
        return JCS_GRAYSCALE;
    case JpegColorSpace::Rgb:
        return JCS_RGB;
    case JpegColorSpace::Cmyk:
        return JCS_CMYK;
    case JpegColorSpace::Ycck:
        return JCS_YCCK;
    case JpegColorSpace::YCbCr:
        break;
    }
    return JCS_YCbCr;
}

// The photo's own tables and sampling; a coding of another number of components is none.
bool applycoding(jpeg_compress_struct& info, const JpegCoding& coding) {
    if (int(coding.components.size()) != info.num_components)
        return false;
    for (size_t t = 0; t < coding.tables.size(); ++t) {
        const std::vector<quint16>& steps = coding.tables[t];
        if (steps.size() != DCTSIZE2)
            continue;
        unsigned int table[DCTSIZE2];
        std::copy(steps.begin(), steps.end(), table);
        // At a scale of 100 the steps go in unchanged; steps above 255 need 16-bit tables.
        jpeg_add_quant_table(&info, int(t), table, 100, FALSE);
    }
    for (int c = 0; c < info.num_components; ++c) {
        const JpegCoding::Component& component = coding.components[size_t(c)];
        info.comp_info[c].h_samp_factor = component.hsampling;
        info.comp_info[c].v_samp_factor = component.vsampling;
        info.comp_info[c].quant_tbl_no = component.table;
    }
    return true;
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
        info_.in_color_space = inputspace(picture.format(), settings);
        jpeg_set_defaults(&info_);
        if (settings.colorspace)
            jpeg_set_colorspace(&info_, codedspace(*settings.colorspace));
        if (!settings.coding || !applycoding(info_, *settings.coding)) {
            jpeg_set_quality(&info_, settings.quality, TRUE);
            for (int c = 0; settings.quality >= 90 && c < info_.num_components; ++c) {
                info_.comp_info[c].h_samp_factor = 1;
                info_.comp_info[c].v_samp_factor = 1;
            }
        }
        info_.optimize_coding = TRUE;
        if (settings.progressive)
            jpeg_simple_progression(&info_);
        // JFIF holds only YCbCr and grey; inks carry their own Adobe marker, as the photo had it.
        info_.write_JFIF_header = info_.jpeg_color_space == JCS_YCbCr || info_.jpeg_color_space == JCS_GRAYSCALE;
        if (isinks(settings.colorspace))
            info_.write_Adobe_marker =
                std::none_of(settings.segments.begin(), settings.segments.end(), isadobe);
        info_.density_unit = 1;
        info_.X_density = UINT16(std::clamp<qint64>(settings.dpi, 1, 65535));
        info_.Y_density = info_.X_density;
        jpeg_start_compress(&info_, TRUE);
        for (const MarkerSegment& segment : settings.segments) {
            if (!writtenanew(segment, settings))
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
    FilePtr file(std::fopen(nativepath(target).constData(), "wb"));
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

    // A file that failed halfway is no use to anyone: it goes.
    const auto abandon = [&](const QString& reason) {
        file.reset();
        std::remove(nativepath(target).constData());
        return Status::failure(reason);
    };
    Compression compression;
    if (!compression.start(picture, settings, file.get()) || !compression.writerows(picture, rows, stride) ||
        !compression.finish())
        return abandon(failurewords(compression.message(), QStringLiteral("encode"),
                                    QStringLiteral("can't be encoded")));

    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) || std::fclose(file.release()) != 0)
        return abandon(QStringLiteral("the new photo can't be written (%1)").arg(errnotext(errno)));
    return Status::success();
}

} // namespace pivotel

#include "jpeg/decode.h"

#include "jpeg/datasource.h"
#include "jpeg/jpegerror.h"
#include "jpeg/segments.h"
#include "jpeg/turbojpeg.h"
#include "support/fileio.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace pivotel {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

bool isiccsegment(const jpeg_marker_struct& marker) {
    return marker.marker == JPEG_APP0 + 2 && marker.data_length >= 12 &&
           std::memcmp(marker.data, "ICC_PROFILE\0", 12) == 0;
}

// One decompression. Every method that calls libjpeg sets the jump target first and answers
// false when libjpeg gave up; message() says why.
class Decompression {
  public:
    Decompression() { info_.err = error_.install(); }
    ~Decompression() { jpeg_destroy_decompress(&info_); } // safe also when never created
    Decompression(const Decompression&) = delete;
    Decompression& operator=(const Decompression&) = delete;

    jpeg_decompress_struct& info() { return info_; }
    QString message() const { return error_.text(); }
    QString warning() const { return error_.warningtext(); }

    bool readheader(const QByteArray& data) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_decompress(&info_);
        jpegdatasource(&info_, data);
        for (int n = 0; n < 16; ++n)
            jpeg_save_markers(&info_, JPEG_APP0 + n, 0xFFFF);
        jpeg_save_markers(&info_, JPEG_COM, 0xFFFF);
        jpeg_read_header(&info_, TRUE);
        return true;
    }

    // The assembled ICC profile; a damaged one counts as none, the photo itself is sound, so
    // its warning is not the photo's.
    bool readprofile(JOCTET** profile, unsigned int* length) {
        *profile = nullptr;
        *length = 0;
        if (setjmp(error_.jump))
            return false;
        const long warnings = error_.manager.num_warnings;
        const bool found = jpeg_read_icc_profile(&info_, profile, length);
        if (warnings == 0 && error_.manager.num_warnings > 0)
            error_.forgetwarnings();
        return found;
    }

    bool start(J_COLOR_SPACE colorspace) {
        if (setjmp(error_.jump))
            return false;
        info_.out_color_space = colorspace;
        jpeg_start_decompress(&info_);
        return true;
    }

    bool readrows(QImage& image) {
        if (setjmp(error_.jump))
            return false;
        constexpr JDIMENSION batch = 16;
        JSAMPROW rows[batch];
        while (info_.output_scanline < info_.output_height) {
            const JDIMENSION first = info_.output_scanline;
            const JDIMENSION count = std::min(batch, info_.output_height - first);
            for (JDIMENSION i = 0; i < count; ++i)
                rows[i] = image.scanLine(int(first + i));
            jpeg_read_scanlines(&info_, rows, count);
        }
        return true;
    }

    bool finish() {
        if (setjmp(error_.jump))
            return false;
        jpeg_finish_decompress(&info_);
        return true;
    }

  private:
    JpegError error_;
    jpeg_decompress_struct info_{};
};

Status damaged(const Decompression& decompression) {
    return Status::failure(
        failurewords(decompression.message(), QStringLiteral("decode"), QStringLiteral("can't be decoded")));
}

// EXIF first, as the metadata tool reads a photo's resolution; then the JFIF density.
qint64 resolution(jpeg_decompress_struct& info, const std::vector<MarkerSegment>& segments) {
    for (const MarkerSegment& segment : segments) {
        if (segment.marker != JPEG_APP0 + 1)
            continue;
        if (const auto dpi = exifdpi(segment.body); dpi && *dpi >= 1)
            return static_cast<qint64>(*dpi);
    }
    if (info.saw_JFIF_marker && info.Y_density > 0) {
        if (info.density_unit == 1)
            return info.Y_density;
        if (info.density_unit == 2) // dots per cm, stored rounded: round back to whole inches
            return std::lround(info.Y_density * 2.54);
    }
    return 72;
}

// The sampling and the quantization tables of the frame, as the header gives them.
JpegCoding codingof(const jpeg_decompress_struct& info) {
    JpegCoding coding;
    for (int c = 0; c < info.num_components; ++c) {
        const jpeg_component_info& component = info.comp_info[c];
        coding.components.push_back(
            {component.h_samp_factor, component.v_samp_factor, component.quant_tbl_no});
    }
    for (int t = 0; t < NUM_QUANT_TBLS; ++t) {
        if (const JQUANT_TBL* table = info.quant_tbl_ptrs[t])
            coding.tables[size_t(t)].assign(std::begin(table->quantval), std::end(table->quantval));
    }
    return coding;
}

} // namespace

Result<DecodedPicture> decodepicture(const QString& path) {
    const auto data = readwholefile(path);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));

    Decompression decompression;
    jpeg_decompress_struct& info = decompression.info();
    if (!decompression.readheader(*data))
        return damaged(decompression);

    DecodedPicture picture;
    for (const jpeg_marker_struct* m = info.marker_list; m; m = m->next) {
        if (!isiccsegment(*m))
            picture.segments.push_back(
                {m->marker, QByteArray(reinterpret_cast<const char*>(m->data), qsizetype(m->data_length))});
    }
    JOCTET* profile = nullptr;
    unsigned int profilelength = 0;
    if (decompression.readprofile(&profile, &profilelength)) {
        const std::unique_ptr<JOCTET, Free> owned(profile);
        picture.colorprofile = QByteArray(reinterpret_cast<const char*>(profile), qsizetype(profilelength));
    }
    picture.jpgdpi = resolution(info, picture.segments);

    // Four bytes a pixel: a turn then moves whole words.
    J_COLOR_SPACE colorspace = JCS_EXT_RGBX;
    QImage::Format format = QImage::Format_RGBX8888;
    picture.colorspace = codedcolorspace(info.jpeg_color_space);
    switch (info.jpeg_color_space) {
    case JCS_GRAYSCALE:
        colorspace = JCS_GRAYSCALE;
        format = QImage::Format_Grayscale8;
        break;
    case JCS_CMYK:
    case JCS_YCCK: // libjpeg undoes the YCC step; the inks are kept as they are
        colorspace = JCS_CMYK;
        break;
    default:
        break;
    }
    picture.coding = codingof(info);
    if (!decompression.start(colorspace))
        return damaged(decompression);

    picture.image = QImage(int(info.output_width), int(info.output_height), format);
    if (picture.image.isNull())
        return Status::failure(QStringLiteral("not enough memory to decode it (%1 x %2 pixels)")
                                   .arg(info.output_width)
                                   .arg(info.output_height));
    if (!decompression.readrows(picture.image) || !decompression.finish())
        return damaged(decompression);
    picture.warning = decompression.warning();
    return picture;
}

namespace {

// The most coefficients a decode for showing may hold: those of a 170-megapixel progressive
// photo.
constexpr qint64 maxshowncoefficients = 512LL * 1024 * 1024;

// The decoder's scaled size of `size` by `factor`, rounded up as the decoder rounds it.
QSize scaledsize(QSize size, tjscalingfactor factor) {
    return {TJSCALED(size.width(), factor), TJSCALED(size.height(), factor)};
}

// The denominator of the smallest reduction of `photo` that still covers `shown` both ways. The
// halvings are the decoder's quickest reductions, done inside its inverse DCT.
unsigned reduction(QSize photo, QSize shown) {
    for (const int denominator : {8, 4, 2}) {
        const QSize reduced = scaledsize(photo, tjscalingfactor{1, denominator});
        if (reduced.width() >= shown.width() && reduced.height() >= shown.height())
            return unsigned(denominator);
    }
    return 1;
}

} // namespace

bool isjpegdata(const QByteArray& data) {
    return data.size() >= 3 && uchar(data[0]) == 0xFF && uchar(data[1]) == 0xD8 && uchar(data[2]) == 0xFF;
}

ReducedPicture decodereduced(const QString& path, const std::function<QSize(QSize)>& shownsize) {
    // A progressive photo is held whole as coefficients even at 1/8: one too large for that is
    // not shown rather than taking gigabytes from the machine for a preview.
    if (const auto header = readjpegheader(path)) {
        const auto segments = headersegments(*header);
        const bool progressive =
            std::any_of(segments.begin(), segments.end(), [](const HeaderSegment& segment) {
                return segment.marker == 0xC2 || segment.marker == 0xC6 || segment.marker == 0xCA ||
                       segment.marker == 0xCE;
            });
        const auto probe = probejpegdata(*header);
        if (progressive && probe && coefficientbytes(*probe) > maxshowncoefficients)
            return {};
    }
    // Read whole, then decoded from memory: TurboJPEG's quickest way, some 15% quicker than
    // decoding through a file source.
    const auto data = readwholefile(path);
    if (!data)
        return {};
    const TjHandle tj(tjInitDecompress());
    if (!tj)
        return {};
    const auto* bytes = reinterpret_cast<const unsigned char*>(data->constData());
    const auto size = static_cast<unsigned long>(data->size());
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(tj.get(), bytes, size, &width, &height, &subsampling, &colorspace) != 0)
        return {};
    if (colorspace == TJCS_CMYK || colorspace == TJCS_YCCK || width < 1 || height < 1)
        return {};
    const QSize photo(width, height);
    const unsigned denominator = shownsize ? reduction(photo, shownsize(photo)) : 1;
    const QSize decoded = scaledsize(photo, tjscalingfactor{1, int(denominator)});
    QImage image(decoded, QImage::Format_RGB888);
    if (image.isNull())
        return {};
    if (tjDecompress2(tj.get(), bytes, size, image.bits(), decoded.width(), int(image.bytesPerLine()),
                      decoded.height(), TJPF_RGB, TJFLAG_FASTDCT) != 0 &&
        tjGetErrorCode(tj.get()) != TJERR_WARNING)
        return {};
    return {image, photo};
}

} // namespace pivotel

#include "jpeg/turnedheader.h"

#include "jpeg/jpegerror.h"
#include "jpeg/libjpegextras.h"

#include <algorithm>
#include <array>
#include <vector>

namespace pivotel {

namespace {

struct Marker {
    int code = 0;
    QByteArray data;
};

// All a header read gives us, copied out of libjpeg's structure.
struct SourceHeader {
    int width = 0, height = 0, precision = 8;
    J_COLOR_SPACE colorspace = JCS_UNKNOWN;
    struct Component {
        int id, hsamp, vsamp, quanttable;
    };
    std::vector<Component> components;
    std::array<std::optional<std::array<uint16_t, 64>>, NUM_QUANT_TBLS> quanttables; // natural order
    bool sawjfif = false;
    int jfifmajor = 1, jfifminor = 1, densityunit = 0, xdensity = 1, ydensity = 1;
    std::vector<Marker> markers;
};

class HeaderReader {
  public:
    HeaderReader() { info_.err = error_.install(); }
    ~HeaderReader() { jpeg_destroy_decompress(&info_); }
    HeaderReader(const HeaderReader&) = delete;
    HeaderReader& operator=(const HeaderReader&) = delete;

    // Saves the segments TurboJPEG's transform saves to copy them.
    bool read(const QByteArray& data) {
        if (setjmp(error_.jump))
            return false;
        jpeg_create_decompress(&info_);
        jpeg_save_markers(&info_, JPEG_COM, 0xFFFF);
        for (int m = 0; m < 16; ++m)
            jpeg_save_markers(&info_, JPEG_APP0 + m, 0xFFFF);
        jpeg_mem_src(&info_, reinterpret_cast<const unsigned char*>(data.constData()),
                     static_cast<unsigned long>(data.size()));
        jpeg_read_header(&info_, TRUE);
        return true;
    }

    void copy(SourceHeader& header) const {
        header.width = int(info_.image_width);
        header.height = int(info_.image_height);
        header.precision = info_.data_precision;
        header.colorspace = info_.jpeg_color_space;
        for (int ci = 0; ci < info_.num_components; ++ci) {
            const jpeg_component_info& c = info_.comp_info[ci];
            header.components.push_back({c.component_id, c.h_samp_factor, c.v_samp_factor, c.quant_tbl_no});
        }
        for (int t = 0; t < NUM_QUANT_TBLS; ++t)
            if (const JQUANT_TBL* table = info_.quant_tbl_ptrs[t]) {
                header.quanttables[std::size_t(t)].emplace();
                std::copy(table->quantval, table->quantval + 64, header.quanttables[std::size_t(t)]->begin());
            }
        header.sawjfif = info_.saw_JFIF_marker;
        header.jfifmajor = info_.JFIF_major_version;
        header.jfifminor = info_.JFIF_minor_version;
        header.densityunit = info_.density_unit;
        header.xdensity = info_.X_density;
        header.ydensity = info_.Y_density;
        for (jpeg_saved_marker_ptr m = info_.marker_list; m; m = m->next)
            header.markers.push_back(
                {m->marker, QByteArray(reinterpret_cast<const char*>(m->data), qsizetype(m->data_length))});
    }

  private:
    JpegError error_;
    jpeg_decompress_struct info_{};
};

bool startswith(const QByteArray& data, const char* prefix, int length) {
    return data.size() >= length && std::equal(prefix, prefix + length, data.constData());
}

void put16(QByteArray& out, int value) {
    out.append(char((value >> 8) & 0xFF));
    out.append(char(value & 0xFF));
}

void putsegment(QByteArray& out, int marker, const QByteArray& data) {
    out.append(char(0xFF));
    out.append(char(marker));
    put16(out, int(data.size()) + 2);
    out.append(data);
}

// The Exif image width and height (in the Exif IFD) set to the new frame's, as libjpeg's
// transformer does it: only where the tags are found where it looks, written as one LONG.
void setexifsize(QByteArray& exif, unsigned width, unsigned height) {
    auto* data = reinterpret_cast<unsigned char*>(exif.data()) + 6;
    const unsigned length = unsigned(exif.size()) - 6;
    if (length < 12)
        return;
    bool motorola;
    if (data[0] == 0x49 && data[1] == 0x49)
        motorola = false;
    else if (data[0] == 0x4D && data[1] == 0x4D)
        motorola = true;
    else
        return;
    const auto get16 = [&](unsigned at) {
        return motorola ? (unsigned(data[at]) << 8) | data[at + 1] : (unsigned(data[at + 1]) << 8) | data[at];
    };
    if (get16(2) != 0x2A)
        return;
    // Offsets above 16 bits are not followed, as libjpeg does not.
    if (get16(motorola ? 4 : 6) != 0)
        return;
    unsigned offset = get16(motorola ? 6 : 4);
    if (offset > length - 2)
        return;
    unsigned tags = get16(offset);
    if (tags == 0)
        return;
    offset += 2;
    for (;;) {
        if (offset > length - 12)
            return;
        if (get16(offset) == 0x8769)
            break;
        if (--tags == 0)
            return;
        offset += 12;
    }
    if (get16(offset + (motorola ? 8 : 10)) != 0)
        return;
    offset = get16(offset + (motorola ? 10 : 8));
    if (offset > length - 2)
        return;
    tags = get16(offset);
    if (tags < 2)
        return;
    offset += 2;
    do {
        if (offset > length - 12)
            return;
        const unsigned tag = get16(offset);
        if (tag == 0xA002 || tag == 0xA003) {
            const unsigned value = tag == 0xA002 ? width : height;
            const std::array<unsigned char, 10> be = {
                0, 4, 0, 0, 0, 1, 0, 0, (unsigned char)((value >> 8) & 0xFF), (unsigned char)(value & 0xFF)};
            const std::array<unsigned char, 10> le = {
                4, 0, 1, 0, 0, 0, (unsigned char)(value & 0xFF), (unsigned char)((value >> 8) & 0xFF), 0, 0};
            std::copy((motorola ? be : le).begin(), (motorola ? be : le).end(), data + offset + 2);
        }
        offset += 12;
    } while (--tags);
}

} // namespace

std::optional<TurnedHeader> turnedheader(const QByteArray& data, JpegTransform op, EdgePolicy edges) {
    SourceHeader source;
    {
        HeaderReader reader;
        if (!reader.read(data))
            return std::nullopt;
        reader.copy(source);
    }
    const int count = int(source.components.size());
    if (source.precision != 8 || count < 1 || count > 4)
        return std::nullopt;

    TurnedHeader turned;
    turned.colorspace = source.colorspace;
    turned.sourcewidth = source.width;
    turned.sourceheight = source.height;
    CoefficientPlanes& frame = turned.frame;
    const bool transpose = transposes(op);
    for (int ci = 0; ci < count; ++ci) {
        const auto& c = source.components[std::size_t(ci)];
        ComponentPlane plane;
        plane.id = c.id;
        plane.quanttable = c.quanttable;
        // A single component is always written 1x1.
        plane.hsamp = count == 1 ? 1 : transpose ? c.vsamp : c.hsamp;
        plane.vsamp = count == 1 ? 1 : transpose ? c.hsamp : c.vsamp;
        // The Huffman slots libjpeg gives each colour space.
        const bool chroma =
            (source.colorspace == JCS_YCbCr || source.colorspace == JCS_YCCK) && (ci == 1 || ci == 2);
        plane.dctable = plane.actable = chroma ? 1 : 0;
        if (!source.quanttables[std::size_t(c.quanttable)])
            return std::nullopt;
        frame.components.push_back(std::move(plane));
    }

    // The new frame's size: a quarter turn swaps it, a trim drops the partial blocks at the
    // edges the transform moves.
    frame.width = transpose ? source.height : source.width;
    frame.height = transpose ? source.width : source.height;
    const int blockwidth = 8 * frame.maxhsamp(), blockheight = 8 * frame.maxvsamp();
    if (edges == EdgePolicy::Trim) {
        const bool right = op == JpegTransform::Rotate90 || op == JpegTransform::Rotate180 ||
                           op == JpegTransform::FlipHorizontal || op == JpegTransform::Transverse;
        const bool bottom = op == JpegTransform::Rotate270 || op == JpegTransform::Rotate180 ||
                            op == JpegTransform::FlipVertical || op == JpegTransform::Transverse;
        if (right && frame.width / blockwidth > 0)
            frame.width = frame.width / blockwidth * blockwidth;
        if (bottom && frame.height / blockheight > 0)
            frame.height = frame.height / blockheight * blockheight;
    }
    for (ComponentPlane& plane : frame.components) {
        plane.widthblocks = (frame.width * plane.hsamp + blockwidth - 1) / blockwidth;
        plane.heightblocks = (frame.height * plane.vsamp + blockheight - 1) / blockheight;
    }

    QByteArray& out = turned.bytes;
    out.append(char(0xFF));
    out.append(char(0xD8));
    const bool exiffirst = !source.markers.empty() && source.markers.front().code == JPEG_APP0 + 1 &&
                           startswith(source.markers.front().data, "Exif\0\0", 6);
    const bool jfif = (source.colorspace == JCS_GRAYSCALE || source.colorspace == JCS_YCbCr) && !exiffirst;
    const bool adobe =
        source.colorspace == JCS_RGB || source.colorspace == JCS_CMYK || source.colorspace == JCS_YCCK;
    if (jfif) {
        QByteArray app0("JFIF\0", 5);
        const bool sourceversion = source.sawjfif && (source.jfifmajor == 1 || source.jfifmajor == 2);
        app0.append(char(sourceversion ? source.jfifmajor : 1));
        app0.append(char(sourceversion ? source.jfifminor : 1));
        app0.append(char(source.sawjfif ? source.densityunit : 0));
        put16(app0, source.sawjfif ? source.xdensity : 1);
        put16(app0, source.sawjfif ? source.ydensity : 1);
        app0.append(char(0));
        app0.append(char(0));
        putsegment(out, JPEG_APP0, app0);
    }
    if (adobe) {
        QByteArray app14("Adobe", 5);
        put16(app14, 100);
        put16(app14, 0);
        put16(app14, 0);
        app14.append(char(source.colorspace == JCS_YCCK ? 2 : 0));
        putsegment(out, JPEG_APP0 + 14, app14);
    }
    const bool resized = frame.width != source.width || frame.height != source.height;
    for (std::size_t i = 0; i < source.markers.size(); ++i) {
        Marker& marker = source.markers[i];
        if (jfif && marker.code == JPEG_APP0 && startswith(marker.data, "JFIF\0", 5))
            continue;
        if (adobe && marker.code == JPEG_APP0 + 14 && startswith(marker.data, "Adobe", 5))
            continue;
        if (i == 0 && exiffirst && resized)
            setexifsize(marker.data, unsigned(frame.width), unsigned(frame.height));
        putsegment(out, marker.code, marker.data);
    }

    std::vector<int> written;
    for (const ComponentPlane& plane : frame.components) {
        if (std::find(written.begin(), written.end(), plane.quanttable) != written.end())
            continue;
        written.push_back(plane.quanttable);
        std::array<uint16_t, 64> table = *source.quanttables[std::size_t(plane.quanttable)];
        if (transpose)
            for (int i = 0; i < 8; ++i)
                for (int j = 0; j < i; ++j)
                    std::swap(table[std::size_t(i) * 8 + std::size_t(j)],
                              table[std::size_t(j) * 8 + std::size_t(i)]);
        const bool wide = std::any_of(table.begin(), table.end(), [](uint16_t q) { return q > 255; });
        QByteArray dqt;
        dqt.append(char(plane.quanttable + (wide ? 0x10 : 0)));
        for (int k = 0; k < 64; ++k) {
            const unsigned q = table[std::size_t(jpeg_natural_order[k])];
            if (wide)
                dqt.append(char(q >> 8));
            dqt.append(char(q & 0xFF));
        }
        putsegment(out, 0xDB, dqt);
    }
    QByteArray sof;
    sof.append(char(8));
    put16(sof, frame.height);
    put16(sof, frame.width);
    sof.append(char(count));
    for (const ComponentPlane& plane : frame.components) {
        sof.append(char(plane.id));
        sof.append(char((plane.hsamp << 4) + plane.vsamp));
        sof.append(char(plane.quanttable));
    }
    putsegment(out, 0xC2, sof);
    return turned;
}

} // namespace pivotel

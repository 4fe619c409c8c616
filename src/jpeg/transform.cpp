#include "jpeg/transform.h"

#include "jpeg/blockturn.h"
#include "jpeg/datasource.h"
#include "jpeg/jpegerror.h"
#include "jpeg/progressivewriter.h"
#include "jpeg/scancheck.h"
#include "jpeg/segments.h"
#include "jpeg/transformop.h"
#include "jpeg/turbojpeg.h"
#include "jpeg/turnedheader.h"
#include "support/fileio.h"
#include "support/machine.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>
#include <vector>

namespace pivotel {

int transformop(JpegTransform op) {
    switch (op) {
    case JpegTransform::Rotate90:
        return TJXOP_ROT90;
    case JpegTransform::Rotate180:
        return TJXOP_ROT180;
    case JpegTransform::Rotate270:
        return TJXOP_ROT270;
    case JpegTransform::FlipHorizontal:
        return TJXOP_HFLIP;
    case JpegTransform::FlipVertical:
        return TJXOP_VFLIP;
    case JpegTransform::Transpose:
        return TJXOP_TRANSPOSE;
    case JpegTransform::Transverse:
        return TJXOP_TRANSVERSE;
    case JpegTransform::None:
        break;
    }
    return TJXOP_NONE;
}

namespace {

int edgeoptions(EdgePolicy edges) {
    switch (edges) {
    case EdgePolicy::Perfect:
        return TJXOPT_PERFECT;
    case EdgePolicy::Trim:
        return TJXOPT_TRIM;
    case EdgePolicy::Keep:
        break;
    }
    return 0;
}

// The frame's size and its iMCU, the block that a transform moves whole. One header read, with
// the jump target set before libjpeg is called.
struct Frame {
    int width = 0, height = 0, blockwidth = 8, blockheight = 8;
};

// A row of a source component's blocks, as libjpeg holds it.
struct SourceRow {
    int component;
    int row;
    const short* blocks;
    int count;
};

// Places the rows, turned, in `planes` on up to `threads` threads; answers how many blocks went.
long long placerows(CoefficientPlanes& planes, const BlockTurn& turn, const std::vector<SourceRow>& rows,
                    int threads) {
    constexpr std::size_t batch = 16; // rows taken at a time: few enough to share the work out evenly
    std::atomic<std::size_t> next{0};
    std::atomic<long long> placed{0};
    const auto work = [&] {
        long long mine = 0;
        for (std::size_t first = next.fetch_add(batch); first < rows.size(); first = next.fetch_add(batch)) {
            for (std::size_t i = first; i < std::min(first + batch, rows.size()); ++i)
                mine += turn.placerow(planes, rows[i].component, rows[i].row, rows[i].blocks, rows[i].count);
        }
        placed += mine;
    };
    runonthreads(std::min(threads, int(rows.size() / batch) + 1), work);
    return placed;
}

class SourceReader {
  public:
    explicit SourceReader(const QByteArray& data) : data_(data) { info_.err = error_.install(); }
    ~SourceReader() { jpeg_destroy_decompress(&info_); }
    SourceReader(const SourceReader&) = delete;
    SourceReader& operator=(const SourceReader&) = delete;

    bool header(Frame& frame) {
        if (setjmp(error_.jump))
            return false;
        start();
        frame.width = int(info_.image_width);
        frame.height = int(info_.image_height);
        // A single component is coded block by block, whatever its sampling factors say.
        if (info_.num_components > 1) {
            frame.blockwidth = 8 * info_.max_h_samp_factor;
            frame.blockheight = 8 * info_.max_v_samp_factor;
        }
        return true;
    }

    // Reads all the coded data, as a transform does.
    bool wholedata() {
        if (setjmp(error_.jump))
            return false;
        start();
        jpeg_read_coefficients(&info_);
        jpeg_finish_decompress(&info_);
        return true;
    }

    // Reads all the coded data and puts each block, turned, where it goes in `planes`, one row
    // of blocks at a time, on up to `threads` threads. Answers how many blocks it placed, or -1
    // when libjpeg gave up.
    long long turnblocks(CoefficientPlanes& planes, const BlockTurn& turn, int threads) {
        if (setjmp(error_.jump))
            return -1;
        start();
        jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info_);
        if (std::size_t(info_.num_components) != planes.components.size())
            return -1;
        // The rows are found first, here: libjpeg keeps the arrays whole in memory (it has no
        // backing store), so they stay put while other threads place them, each block to a
        // place of its own. They are a member: libjpeg's longjmp must skip no destructor.
        rows_.clear();
        for (int ci = 0; ci < info_.num_components; ++ci) {
            const jpeg_component_info& component = info_.comp_info[ci];
            for (JDIMENSION row = 0; row < component.height_in_blocks; ++row) {
                const JBLOCKARRAY blocks = (*info_.mem->access_virt_barray)(
                    reinterpret_cast<j_common_ptr>(&info_), arrays[ci], row, 1, FALSE);
                rows_.push_back({ci, int(row), blocks[0][0], int(component.width_in_blocks)});
            }
        }
        const long long placed = placerows(planes, turn, rows_, threads);
        jpeg_finish_decompress(&info_); // frees the arrays
        return placed;
    }

    QString message() const { return error_.text(); }
    QString warning() const { return error_.warningtext(); }

  private:
    void start() {
        jpeg_create_decompress(&info_);
        jpegdatasource(&info_, data_);
        jpeg_read_header(&info_, TRUE);
    }

    const QByteArray& data_;
    JpegError error_;
    jpeg_decompress_struct info_{};
    std::vector<SourceRow> rows_;
};

// Reads a sound sequential photo's coefficients with our own decoder, placing each row of
// blocks as soon as it is read: libjpeg would first hold all of them in arrays of its own, tens
// of megabytes for a camera photo, and read on one thread. Answers how many blocks went, or -1
// for a photo it leaves to libjpeg: another kind of JPEG, flawed data, or anything libjpeg
// warns of in its header, which the turn must report as libjpeg words it.
long long ownread(const QByteArray& data, CoefficientPlanes& planes, const BlockTurn& turn, int threads) {
    const auto end = pictureend(data);
    if (!end)
        return -1;
    SourceReader header(data);
    Frame frame;
    if (!header.header(frame) || !header.warning().isEmpty())
        return -1;
    long long placed = 0; // by one thread at a time
    const BlockRowSink place = [&](int component, int row, const int16_t* blocks, int count) {
        if (std::size_t(component) < planes.components.size())
            placed += turn.placerow(planes, component, row, blocks, count);
    };
    try {
        if (!readcoefficients(QByteArrayView(data).first(*end), place, threads))
            return -1;
    } catch (const std::bad_alloc&) {
        return -1;
    }
    return placed;
}

// The transform with our own progressive writer: libjpeg reads the coefficients, we move the
// blocks and code the scans, several at once. The bytes are those TurboJPEG's own transform
// would write, and no more coefficients are held than it holds. No answer when this path can't
// be sure of that or libjpeg can't read the data: the caller then takes TurboJPEG's own path,
// which words the errors.
std::optional<TurnedJpeg> progressivetransform(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                                               int threads) {
    if (edges == EdgePolicy::Perfect) {
        const auto partial = partialedges(data, op);
        if (!partial || !partial->perfect())
            return std::nullopt;
    }
    auto header = turnedheader(data, op, edges);
    if (!header)
        return std::nullopt;
    long long blocks = 0;
    try {
        for (ComponentPlane& plane : header->frame.components) {
            plane.allocate();
            blocks += (long long)plane.widthblocks * plane.heightblocks;
        }
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    const auto script = simpleprogression(int(header->frame.components.size()), header->colorspace);
    if (script.empty())
        return std::nullopt;

    const BlockTurn turn(op, header->sourcewidth, header->sourceheight, header->frame);
    long long placed = ownread(data, header->frame, turn, threads);
    QString warning;
    if (placed < 0) {
        SourceReader reader(data);
        placed = reader.turnblocks(header->frame, turn, threads);
        warning = reader.warning();
    }
    // Every block of the new frame must have come from somewhere.
    if (placed != blocks)
        return std::nullopt;
    auto written = writeprogressive(std::move(header->bytes), std::move(header->frame), script, threads);
    if (!written)
        return std::nullopt;
    return TurnedJpeg{std::move(written).value(), warning};
}

// libjpeg writes an Adobe segment of its own for the colour transform, with Adobe's flags
// cleared; the source's, which says the same of the same coded data, is put back byte for byte.
void keepadobesegment(const QByteArray& source, QByteArray& turned) {
    const auto adobe = [](const QByteArray& jpeg) -> std::optional<HeaderSegment> {
        for (const HeaderSegment& segment : headersegments(jpeg)) {
            if (segment.marker == 0xEE && segment.body().startsWith("Adobe"))
                return segment;
        }
        return std::nullopt;
    };
    const auto had = adobe(source);
    const auto written = adobe(turned);
    if (!had || !written || had->bytes == written->bytes)
        return;
    const QByteArray original = had->bytes.toByteArray();
    turned.replace(written->bytes.data() - turned.constData(), written->bytes.size(), original);
}

// How a photo libjpeg gave up on is reported: as damaged, unless it only ran out of memory.
Status unreadable(const QString& message) {
    return Status::failure(
        failurewords(message, QStringLiteral("turn"), QStringLiteral("damaged JPEG data")));
}

} // namespace

Result<PartialEdges> partialedges(const QByteArray& data, JpegTransform op) {
    SourceReader reader(data);
    Frame frame;
    if (!reader.header(frame))
        return unreadable(reader.message());
    const int columns = frame.width % frame.blockwidth;
    const int rows = frame.height % frame.blockheight;
    // The edges each operation brings to the top or the left, as libjpeg's transformer has them.
    switch (op) {
    case JpegTransform::Rotate90: // the bottom edge goes to the left
    case JpegTransform::FlipVertical:
        return PartialEdges{0, rows};
    case JpegTransform::Rotate270: // the right edge goes to the top
    case JpegTransform::FlipHorizontal:
        return PartialEdges{columns, 0};
    case JpegTransform::Rotate180:
    case JpegTransform::Transverse:
        return PartialEdges{columns, rows};
    case JpegTransform::Transpose: // the edges stay at the right and the bottom
    case JpegTransform::None:
        break;
    }
    return PartialEdges{};
}

Result<TurnedJpeg> turnjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges, int threads) {
    auto turned = progressivetransform(data, op, edges, threads);
    if (!turned) {
        // libjpeg, reading the data as the transform does, says whether it can be read at all
        // and names every flaw it reads past.
        SourceReader reader(data);
        if (!reader.wholedata())
            return unreadable(reader.message());
        TjTransformed library =
            tjtransformbytes(data, transformop(op), TJXOPT_PROGRESSIVE | edgeoptions(edges), false);
        if (!library.error.isEmpty())
            return library.baddata ? unreadable(library.error) : Status::failure(library.error);
        turned = TurnedJpeg{std::move(library.bytes), reader.warning()};
    }
    keepadobesegment(data, turned->bytes);
    return std::move(*turned);
}

Result<QString> transformjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                              const QString& target, int threads) {
    auto turned = turnjpeg(data, op, edges, threads);
    if (!turned)
        return turned.status();
    const QByteArray& bytes = turned.value().bytes;
    const Status written = writewholefile(target, bytes.constData(), bytes.size());
    if (!written)
        return Status::failure(
            QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
    return turned.value().warning;
}

} // namespace pivotel

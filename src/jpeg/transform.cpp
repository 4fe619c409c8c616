#include "jpeg/transform.h"

#include "jpeg/blockturn.h"
#include "jpeg/jpegerror.h"
#include "jpeg/progressivewriter.h"
#include "jpeg/transformop.h"
#include "jpeg/turbojpeg.h"
#include "jpeg/turnedheader.h"
#include "support/fileio.h"

#include <new>
#include <optional>

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

    QString message() const { return error_.text(); }
    QString warning() const { return error_.warningtext(); }

  private:
    void start() {
        jpeg_create_decompress(&info_);
        jpeg_mem_src(&info_, reinterpret_cast<const unsigned char*>(data_.constData()),
                     static_cast<unsigned long>(data_.size()));
        jpeg_read_header(&info_, TRUE);
    }

    const QByteArray& data_;
    JpegError error_;
    jpeg_decompress_struct info_{};
};

// Takes the source's coefficients from TurboJPEG one row of blocks at a time and puts each
// block, turned, where it goes in the new frame.
struct Capture {
    CoefficientPlanes* planes = nullptr;
    const BlockTurn* turn = nullptr;
    long long placed = 0;
};

int capturerow(short* coefficients, tjregion arrayregion, tjregion planeregion, int component, int,
               tjtransform* transform) {
    auto* capture = static_cast<Capture*>(transform->data);
    if (component < 0 || std::size_t(component) >= capture->planes->components.size())
        return -1;
    const int row = arrayregion.y / 8;
    if (row < planeregion.h / 8) // not the padding of the last row of MCUs
        capture->placed +=
            capture->turn->placerow(*capture->planes, component, row, coefficients, planeregion.w / 8);
    return 0;
}

// The transform with our own progressive writer: TurboJPEG reads the coefficients and writes
// nothing, we move the blocks and code the scans, several at once. The bytes are those
// TurboJPEG's own transform would write, and no more coefficients are held than it holds. No
// answer when this path can't be sure of that or the data has any flaw: the caller then takes
// TurboJPEG's own path, which words warnings and errors.
std::optional<QByteArray> progressivetransform(const QByteArray& data, JpegTransform op, EdgePolicy edges,
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

    const TjHandle tj(tjInitTransform());
    if (!tj)
        return std::nullopt;
    const BlockTurn turn(op, header->sourcewidth, header->sourceheight, header->frame);
    Capture capture;
    capture.planes = &header->frame;
    capture.turn = &turn;
    tjtransform transform{};
    transform.op = TJXOP_NONE; // the blocks are moved as they are copied
    transform.options = TJXOPT_PROGRESSIVE | TJXOPT_NOOUTPUT;
    transform.data = &capture;
    transform.customFilter = capturerow;
    unsigned char* output = nullptr;
    unsigned long outputsize = 0;
    const int rc =
        tjTransform(tj.get(), reinterpret_cast<const unsigned char*>(data.constData()),
                    static_cast<unsigned long>(data.size()), 1, &output, &outputsize, &transform, 0);
    const TjBuffer owned(output);
    // Every block of the new frame must have come from somewhere.
    if (rc != 0 || capture.placed != blocks)
        return std::nullopt;
    auto written = writeprogressive(std::move(header->bytes), header->frame, script, threads);
    if (!written)
        return std::nullopt;
    return std::move(written).value();
}

} // namespace

Result<PartialEdges> partialedges(const QByteArray& data, JpegTransform op) {
    SourceReader reader(data);
    Frame frame;
    if (!reader.header(frame))
        return Status::failure(QStringLiteral("damaged JPEG data (%1)").arg(reader.message()));
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

Result<QString> transformjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                              const QString& target, int threads) {
    if (const auto turned = progressivetransform(data, op, edges, threads)) {
        const Status written = writewholefile(target, turned->constData(), turned->size());
        if (!written)
            return Status::failure(
                QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
        return QString();
    }
    const TjHandle tj(tjInitTransform());
    if (!tj)
        return Status::failure(QStringLiteral("the JPEG library can't start"));

    tjtransform transform{};
    transform.op = transformop(op);
    // Markers are copied unless told otherwise.
    transform.options = TJXOPT_PROGRESSIVE | edgeoptions(edges);

    unsigned char* output = nullptr;
    unsigned long outputsize = 0;
    const int rc =
        tjTransform(tj.get(), reinterpret_cast<const unsigned char*>(data.constData()),
                    static_cast<unsigned long>(data.size()), 1, &output, &outputsize, &transform, 0);
    const TjBuffer owned(output);
    // TurboJPEG reports a warning that came before an error as a warning, and may leave half a
    // result then: libjpeg, reading the data as the transform did, tells the two apart. Sound
    // data, the common case, is read only once.
    QString warning;
    if (rc != 0) {
        SourceReader reader(data);
        if (!reader.wholedata())
            return Status::failure(QStringLiteral("damaged JPEG data (%1)").arg(reader.message()));
        if (tjGetErrorCode(tj.get()) != TJERR_WARNING)
            return Status::failure(QStringLiteral("damaged JPEG data (%1)")
                                       .arg(QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))));
        warning = reader.warning();
    }
    if (!output || outputsize == 0)
        return Status::failure(QStringLiteral("the JPEG library gave no result"));

    const Status written = writewholefile(target, output, static_cast<qsizetype>(outputsize));
    if (!written)
        return Status::failure(
            QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
    return warning;
}

} // namespace pivotel

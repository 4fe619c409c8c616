#include "engine/losslessrotate.h"

#include "engine/normalrotate.h"
#include "jpeg/probe.h"
#include "jpeg/transform.h"
#include "support/fileio.h"

namespace pivotel {

JpegTransform transformfor(Action action) {
    switch (action) {
    case Action::Rotate90Clockwise:
        return JpegTransform::Rotate90;
    case Action::Rotate90Counterclockwise:
        return JpegTransform::Rotate270;
    case Action::Rotate180:
        return JpegTransform::Rotate180;
    case Action::FlipLeft:
        return JpegTransform::FlipHorizontal;
    case Action::FlipUpsideDown:
        return JpegTransform::FlipVertical;
    case Action::Transpose:
        return JpegTransform::Transpose;
    case Action::Transverse:
        return JpegTransform::Transverse;
    case Action::AsIs:
        break;
    }
    return JpegTransform::None;
}

namespace {

// Says, in the turned photo's terms, what became of the edge: "trimmed 8 pixels off the width",
// "edge of 8 pixels left unturned". A turn by a quarter, or across a diagonal, makes the source's
// rows its columns.
QString pixels(int n) {
    return n == 1 ? QStringLiteral("1 pixel") : QStringLiteral("%1 pixels").arg(n);
}

QString edgenote(PartialEdges partial, Action action, bool trimmed) {
    const bool swapped = swapssides(action);
    const int width = swapped ? partial.rows : partial.columns;
    const int height = swapped ? partial.columns : partial.rows;
    if (!trimmed) {
        return width && height
                   ? QStringLiteral("edges of %1 and %2 left unturned").arg(pixels(width), pixels(height))
                   : QStringLiteral("edge of %1 left unturned").arg(pixels(width + height));
    }
    if (width && height)
        return QStringLiteral("trimmed %1 off the width and %2 off the height")
            .arg(pixels(width))
            .arg(height);
    return QStringLiteral("trimmed %1 off the %2")
        .arg(pixels(width + height), width ? QStringLiteral("width") : QStringLiteral("height"));
}

} // namespace

Result<Rotation> losslesstransform(const QString& source, const QString& target, Action action,
                                   OddSizes oddsizes, int threads, bool handon) {
    const auto data = readwholefile(source);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));
    const JpegTransform op = transformfor(action);
    const auto partial = partialedges(*data, op);
    if (!partial)
        return partial.status();
    // From the file: its header reader passes over stray bytes, which TurboJPEG would refuse.
    const auto probe = probejpeg(source);
    if (!probe)
        return probe.status();
    // A photo narrower or lower than one block has nothing a trim could keep: libjpeg would
    // leave that edge unturned, so it is re-encoded instead.
    const bool cantrim = partial->columns < probe->size.width() && partial->rows < probe->size.height();
    if (!partial->perfect() && (oddsizes == OddSizes::Reencode || (oddsizes == OddSizes::Trim && !cantrim))) {
        auto reencoded = reencodeatownquality(source, action, target);
        if (!reencoded)
            return reencoded.status();
        reencoded.value().notes.prepend(QStringLiteral("re-encoded: its size is not whole blocks"));
        return reencoded;
    }

    const EdgePolicy edges = partial->perfect()           ? EdgePolicy::Perfect
                             : oddsizes == OddSizes::Trim ? EdgePolicy::Trim
                                                          : EdgePolicy::Keep;
    Rotation rotation;
    QString warning;
    if (handon) {
        auto turned = turnjpeg(*data, op, edges, threads);
        if (!turned)
            return turned.status();
        rotation.bytes = std::move(turned.value().bytes);
        warning = turned.value().warning;
    } else {
        const auto written = transformjpeg(*data, op, edges, target, threads);
        if (!written)
            return written.status();
        warning = *written;
    }
    rotation.source = *data;
    rotation.size = probe->size;
    if (edges == EdgePolicy::Trim)
        rotation.size -= QSize(partial->columns, partial->rows);
    if (swapssides(action))
        rotation.size.transpose();
    if (edges != EdgePolicy::Perfect)
        rotation.notes << edgenote(*partial, action, edges == EdgePolicy::Trim);
    if (!warning.isEmpty())
        rotation.notes << flawnote(warning);
    return rotation;
}

Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target, OddSizes oddsizes,
                                int threads, bool handon) {
    return losslesstransform(path, target, action, oddsizes, threads, handon);
}

} // namespace pivotel

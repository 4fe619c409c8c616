#include "engine/losslessrotate.h"

#include "engine/normalrotate.h"
#include "jpeg/transform.h"
#include "metadata/exiftool.h"
#include "support/fileio.h"
#include "support/xnumber.h"

namespace pivotel {

namespace {

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
    case Action::AsIs:
        break;
    }
    return JpegTransform::None;
}

// Says, in the turned photo's terms, what became of the edge: "trimmed 8 pixels off the width",
// "edge of 8 pixels left unturned". A turn by a quarter makes the source's rows its columns.
QString edgenote(PartialEdges partial, Action action, bool trimmed) {
    const bool quarter = action == Action::Rotate90Clockwise || action == Action::Rotate90Counterclockwise;
    const int width = quarter ? partial.rows : partial.columns;
    const int height = quarter ? partial.columns : partial.rows;
    if (!trimmed) {
        return width && height ? QStringLiteral("edges of %1 and %2 pixels left unturned").arg(width).arg(height)
                               : QStringLiteral("edge of %1 pixels left unturned").arg(width + height);
    }
    if (width && height)
        return QStringLiteral("trimmed %1 pixels off the width and %2 off the height").arg(width).arg(height);
    return QStringLiteral("trimmed %1 pixels off the %2").arg(width + height)
        .arg(width ? QStringLiteral("width") : QStringLiteral("height"));
}

} // namespace

Result<qint64> readresolution(ExifTool& tool, const QString& path) {
    if (!tool.exists())
        return qint64(72);
    const ToolResult result = tool.run({QStringLiteral("-XResolution"), QStringLiteral("-s"),
                                        QStringLiteral("-s"), QStringLiteral("-s"), path});
    // A guess would be written into the photo by the metadata step: better not to turn it.
    if (!result.ok())
        return Status::failure(QStringLiteral("its resolution can't be read: ") + result.failuretext());
    const QString text = QString::fromUtf8(result.out);
    return text.trimmed().isEmpty() ? qint64(72) : static_cast<qint64>(leadingvalue(text));
}

Result<QStringList> losslesstransform(const QString& source, const QString& target, Action action,
                                      OddSizes oddsizes) {
    const auto data = readwholefile(source);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));
    const JpegTransform op = transformfor(action);
    const auto partial = partialedges(*data, op);
    if (!partial)
        return partial.status();
    if (!partial->perfect() && oddsizes == OddSizes::Reencode) {
        const auto reencoded = reencodeatownquality(source, action, target);
        if (!reencoded)
            return reencoded.status();
        return QStringList{QStringLiteral("re-encoded: its size is not whole blocks")} + reencoded->notes;
    }
    const EdgePolicy edges = partial->perfect()            ? EdgePolicy::Perfect
                             : oddsizes == OddSizes::Trim ? EdgePolicy::Trim
                                                          : EdgePolicy::Keep;
    const auto warning = transformjpeg(*data, op, edges, target);
    if (!warning)
        return warning.status();
    QStringList notes;
    if (edges != EdgePolicy::Perfect)
        notes << edgenote(*partial, action, edges == EdgePolicy::Trim);
    if (!warning->isEmpty())
        notes << flawnote(*warning);
    return notes;
}

Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target, ExifTool& tool,
                                OddSizes oddsizes) {
    const auto dpi = readresolution(tool, path);
    if (!dpi)
        return dpi.status();
    const auto notes = losslesstransform(path, target, action, oddsizes);
    if (!notes)
        return notes.status();
    return Rotation{*dpi, *notes};
}

} // namespace pivotel

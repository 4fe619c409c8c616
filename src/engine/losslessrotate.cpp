#include "engine/losslessrotate.h"

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

Status losslesstransform(const QString& source, const QString& target, Action action) {
    const auto data = readwholefile(source);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));
    return transformjpeg(*data, transformfor(action), EdgePolicy::Keep, target);
}

Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target, ExifTool& tool) {
    const auto dpi = readresolution(tool, path);
    if (!dpi)
        return dpi.status();
    if (const Status turned = losslesstransform(path, target, action); !turned)
        return turned;
    return Rotation{*dpi, {}};
}

} // namespace pivotel

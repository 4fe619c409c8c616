#include "engine/losslessrotate.h"

#include "jpeg/probe.h"
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
    case Action::AsIs:
        break;
    }
    return JpegTransform::None;
}

Status losslesstransform(const QString& source, const QString& target, Action action) {
    const auto data = readwholefile(source);
    if (!data)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(data.reason()));
    return transformjpeg(*data, transformfor(action), EdgePolicy::Keep, target);
}

Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target) {
    const auto probe = probejpeg(path);
    if (!probe)
        return probe.status();
    if (const Status turned = losslesstransform(path, target, action); !turned)
        return turned;
    const bool quarter = action == Action::Rotate90Clockwise || action == Action::Rotate90Counterclockwise;
    return Rotation{quarter ? probe->size.transposed() : probe->size, {}};
}

} // namespace pivotel

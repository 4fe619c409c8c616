#include "photolist/probes.h"

#include "jpeg/probe.h"
#include "jpeg/segments.h"

namespace pivotel {

bool isvalid(const QString& path) {
    return probejpeg(path).ok();
}

std::optional<Action> getorientation(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        return std::nullopt;
    return actionfororientation(exiforientation(*header).value_or(1));
}

} // namespace pivotel

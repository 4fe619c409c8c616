#include "engine/pixelsengine.h"
#include "support/modulefile.h"

namespace pivotel {

namespace {

Result<const PixelsEngineEntry*> pixels() {
    static ModuleTable<PixelsEngineEntry> table(pixelsmodulefile, pixelsenginesymbol, pixelsabi);
    return table.get();
}

Status unavailable(const Status& why) {
    return Status::failure(QStringLiteral("can't be re-encoded: %1").arg(why.reason()));
}

} // namespace

Result<Rotation> normalrotatenew(const QString& path, Action action, const QString& target, int quality) {
    const auto entry = pixels();
    if (!entry)
        return unavailable(entry.status());
    return entry.value()->normalrotatenew(path, action, target, quality);
}

Result<Rotation> reencodeatownquality(const QString& path, Action action, const QString& target) {
    const auto entry = pixels();
    if (!entry)
        return unavailable(entry.status());
    return entry.value()->reencodeatownquality(path, action, target);
}

} // namespace pivotel

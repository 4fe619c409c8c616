#include "look/lookentry.h"
#include "support/modulefile.h"

namespace pivotel {

QString lookmodulefile() {
    return modulefile(QStringLiteral("libpivotel-look.so"), "PIVOTEL_LOOK_MODULE");
}

Status lookatphotos(const QStringList& paths, int jobs,
                    const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                    const std::function<bool()>& stopped) {
    static ModuleTable<LookEntry> table(lookmodulefile, lookentrysymbol, lookabi);
    const auto entry = table.get();
    if (!entry)
        return entry.status();
    return entry.value()->lookatphotos(paths, jobs, ondone, stopped);
}

} // namespace pivotel

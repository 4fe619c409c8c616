#include "look/lookentry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <mutex>

namespace pivotel {

namespace {

constexpr const char* modulename = "libpivotel-look.so";

// Loads the module the first time it is needed and keeps it: its threads and models may outlive
// a check. A failure is tried again next time, as a package may have been installed since.
Result<const LookEntry*> loadlook() {
    static std::mutex guard;
    static const LookEntry* loaded = nullptr;
    const std::lock_guard lock(guard);
    if (loaded)
        return loaded;
    const QString file = lookmodulefile();
    if (!QFileInfo(file).isFile())
        return Status::failure(QStringLiteral("its module %1 is missing").arg(file));
    QLibrary module(file);
    module.setLoadHints(QLibrary::PreventUnloadHint);
    using EntryFunction = const LookEntry* (*)();
    const auto entryfunction = reinterpret_cast<EntryFunction>(module.resolve(lookentrysymbol));
    if (!entryfunction)
        return Status::failure(
            QStringLiteral("its module %1 can't be loaded: %2").arg(file, module.errorString()));
    const LookEntry* entry = entryfunction();
    if (!entry || entry->abi != lookabi || !entry->lookatphotos)
        return Status::failure(QStringLiteral("its module %1 is from another build of Pivotel").arg(file));
    loaded = entry;
    return loaded;
}

} // namespace

QString lookmodulefile() {
    QString chosen = qEnvironmentVariable("PIVOTEL_LOOK_MODULE");
    if (!chosen.isEmpty())
        return chosen;
    const QString executables = QCoreApplication::applicationDirPath();
    QString installed =
        QDir::cleanPath(executables + QStringLiteral("/../lib/pivotel/") + QLatin1String(modulename));
    if (QFileInfo(installed).isFile())
        return installed;
    return QDir::cleanPath(executables + QStringLiteral("/../PlugIns/") + QLatin1String(modulename));
}

Status lookatphotos(const QStringList& paths, int jobs,
                    const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                    const std::function<bool()>& stopped) {
    const auto entry = loadlook();
    if (!entry)
        return entry.status();
    return entry.value()->lookatphotos(paths, jobs, ondone, stopped);
}

} // namespace pivotel

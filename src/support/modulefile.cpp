#include "support/modulefile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

namespace pivotel {

QString modulefile(const QString& name, const char* environment) {
    QString chosen = qEnvironmentVariable(environment);
    if (!chosen.isEmpty())
        return chosen;
    const QString executables = QCoreApplication::applicationDirPath();
    QString installed = QDir::cleanPath(executables + QStringLiteral("/../lib/pivotel/") + name);
    if (QFileInfo(installed).isFile())
        return installed;
    return QDir::cleanPath(executables + QStringLiteral("/../PlugIns/") + name);
}

Result<QFunctionPointer> moduleentry(const QString& file, const char* symbol) {
    if (!QFileInfo(file).isFile())
        return Status::failure(QStringLiteral("its module %1 is missing").arg(file));
    QLibrary module(file);
    module.setLoadHints(QLibrary::PreventUnloadHint);
    const QFunctionPointer entry = module.resolve(symbol);
    if (!entry)
        return Status::failure(
            QStringLiteral("its module %1 can't be loaded: %2").arg(file, module.errorString()));
    return entry;
}

} // namespace pivotel

#include "support/places.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace pivotel {

QString resourcesfolder() {
    const QString executables = QCoreApplication::applicationDirPath();
    // An install (PREFIX/bin beside PREFIX/share/pivotel) at any prefix, else the bundle.
    QString installed = QDir::cleanPath(executables + QStringLiteral("/../share/pivotel"));
    if (QFileInfo(installed).isDir())
        return installed;
    return QDir::cleanPath(executables + QStringLiteral("/../Resources"));
}

QString toolfile() {
    QString bundled = resourcesfolder() + QStringLiteral("/exiftool/exiftool");
    if (QFileInfo::exists(bundled))
        return bundled;
    // A distribution's package leaves exiftool to the system's own package.
    const QString system = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    return system.isEmpty() ? bundled : system;
}

QString datafolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/com.zenthori.pivotel");
}

QString pexiffolder() {
    return pexiffolder(datafolder());
}

QString pexiffolder(const QString& datafolder) {
    return datafolder + QStringLiteral("/pexif");
}

bool ensurefolder(const QString& path) {
    return QDir().mkpath(path);
}

bool ensureprivatefolder(const QString& path) {
    return ensurefolder(path) &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace pivotel

#include "support/places.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace pivotel {

QString resourcesfolder() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../Resources"));
}

QString toolfile() {
    return resourcesfolder() + QStringLiteral("/exiftool/exiftool");
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

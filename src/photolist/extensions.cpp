#include "photolist/extensions.h"

namespace pivotel {

namespace extensions {

const QStringList& dialogtypes() {
    static const QStringList set{QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("jfif"),
                                 QStringLiteral("jpe")};
    return set;
}

const QStringList& loadfiles() {
    static const QStringList set{QStringLiteral(".JPG"), QStringLiteral(".JPEG"), QStringLiteral(".JFIF"),
                                 QStringLiteral(".JPE"), QStringLiteral(".HEIC")};
    return set;
}

const QStringList& folderscan() {
    static const QStringList set{QStringLiteral(".JPG"), QStringLiteral(".JPEG"), QStringLiteral(".JFIF"),
                                 QStringLiteral(".JPE")};
    return set;
}

const QStringList& drop() {
    return folderscan();
}

const QStringList& loadpicture() {
    return folderscan();
}

const QStringList& loadpicturefast() {
    static const QStringList set{QStringLiteral(".JPG"), QStringLiteral(".JPEG"), QStringLiteral(".JFIF")};
    return set;
}

const QStringList& heic() {
    static const QStringList set{QStringLiteral(".HEIC")};
    return set;
}

const QStringList& packages() {
    static const QStringList set{QStringLiteral(".app"),
                                 QStringLiteral(".bundle"),
                                 QStringLiteral(".photoslibrary"),
                                 QStringLiteral(".framework"),
                                 QStringLiteral(".plugin"),
                                 QStringLiteral(".pkg"),
                                 QStringLiteral(".aplibrary"),
                                 QStringLiteral(".photolibrary"),
                                 QStringLiteral(".migratedphotolibrary")};
    return set;
}

} // namespace extensions

bool hasextension(const QString& nameorpath, const QStringList& set) {
    for (const QString& entry : set) {
        if (nameorpath.endsWith(entry, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace pivotel

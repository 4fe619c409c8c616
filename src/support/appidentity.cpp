#include "support/appidentity.h"

namespace pivotel {

QString justappname() {
    return QStringLiteral("Pivotel");
}

QString versiontext() {
    return QStringLiteral("%1.%2.%3").arg(majorversion).arg(minorversion).arg(bugversion);
}

QString appname() {
    return justappname() + QStringLiteral(" v") + versiontext() + QLatin1Char(' ');
}

// On macOS the domain is built from the reversed organization and the application:
// "com.zenthori.pivotel", the bundle identifier. Elsewhere the folder is named after it.
QString settingsorganization() {
#ifdef Q_OS_MACOS
    return QStringLiteral("zenthori.com");
#else
    return QStringLiteral("com.zenthori.pivotel");
#endif
}

QString settingsapplication() {
    return QStringLiteral("pivotel");
}

} // namespace pivotel

#include "services/updateversion.h"

#include <QRegularExpression>
#include <QVersionNumber>

namespace pivotel {

std::optional<QString> versionfrombody(const QByteArray& body) {
    static const QRegularExpression number(QStringLiteral("^[0-9]+(\\.[0-9]+)*$"));
    const QString text = QString::fromUtf8(body.trimmed());
    if (!number.match(text).hasMatch())
        return std::nullopt;
    return text;
}

bool isnewer(const QString& offered, const QString& own) {
    return QVersionNumber::compare(QVersionNumber::fromString(offered).normalized(),
                                   QVersionNumber::fromString(own).normalized()) > 0;
}

UpdateAnswer judgeupdate(const QByteArray& body, const QString& own) {
    const std::optional<QString> offered = versionfrombody(body);
    if (!offered)
        return {};
    if (isnewer(*offered, own))
        return {UpdateAnswer::Newer, *offered};
    return {UpdateAnswer::UpToDate, {}};
}

Platform thisplatform() {
#if defined(Q_OS_MACOS) && defined(Q_PROCESSOR_ARM)
    return Platform::MacArm;
#elif defined(Q_OS_MACOS)
    return Platform::MacIntel;
#elif defined(Q_PROCESSOR_ARM)
    return Platform::LinuxArm64;
#else
    return Platform::LinuxAmd64;
#endif
}

QString downloadpath(Platform platform) {
    switch (platform) {
    case Platform::MacArm:
        return QStringLiteral("/download/pivotel-arm64.dmg");
    case Platform::MacIntel:
        return QStringLiteral("/download/pivotel.dmg");
    case Platform::LinuxArm64:
        return QStringLiteral("/download/pivotel-arm64.deb");
    case Platform::LinuxAmd64:
        break;
    }
    return QStringLiteral("/download/pivotel-amd64.deb");
}

} // namespace pivotel

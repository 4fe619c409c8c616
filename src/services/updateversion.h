#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace pivotel {

// The version a body from the update server names: the body trimmed of white space, when what
// is left is digits and dots ("3.6.4"). An error page, a portal's login page or an empty body
// names none.
std::optional<QString> versionfrombody(const QByteArray& body);

// True when `offered` is a higher version than `own`, the numbers compared part by part, so
// that 3.10.0 is newer than 3.6.4 and 3.6.4.0 equals 3.6.4.
bool isnewer(const QString& offered, const QString& own);

// What a check found out.
struct UpdateAnswer {
    enum Kind { NoAnswer, UpToDate, Newer };
    Kind kind = NoAnswer;
    QString version; // the offered version, for Newer
};

// Judges a body fetched from the server against the program's own version.
UpdateAnswer judgeupdate(const QByteArray& body, const QString& own);

enum class Platform { MacArm, MacIntel, LinuxAmd64, LinuxArm64 };
Platform thisplatform();
// The path of the download for a platform on the update server.
QString downloadpath(Platform platform);

} // namespace pivotel

#pragma once

#include "pivotel_version.h"

#include <QString>

namespace pivotel {

// The program's identity, fixed when it is built.

inline constexpr int majorversion = PIVOTEL_VERSION_MAJOR;
inline constexpr int minorversion = PIVOTEL_VERSION_MINOR;
inline constexpr int bugversion = PIVOTEL_VERSION_PATCH;

// The program's plain name, "Pivotel".
QString justappname();
// The version, as "major.minor.bug".
QString versiontext();
// The name with the version, as the main window's title shows it: "Pivotel v" and the version,
// then a blank that belongs to the text.
QString appname();

// Where the settings live: the application's own preferences domain.
QString settingsorganization();
QString settingsapplication();

} // namespace pivotel

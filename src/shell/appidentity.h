#pragma once

#include <QString>

namespace pivotel {

// The program's identity, fixed when it is built.

// The build flavour: true for the sandboxed build, which asks for write access to folders.
inline constexpr bool forappstore = PIVOTEL_FORAPPSTORE;

inline constexpr int majorversion = 3;
inline constexpr int minorversion = 6;
inline constexpr int bugversion = 4;

// The program's plain name, "Pivotel".
QString justappname();
// "3.6.4".
QString versiontext();
// The name with the version, as the main window's title shows it: "Pivotel v3.6.4 ". The
// trailing blank belongs to the text.
QString appname();

// Where the settings live: the application's own preferences domain.
QString settingsorganization();
QString settingsapplication();

} // namespace pivotel

#pragma once

#include <QTemporaryDir>

// Points the data folder, the settings and the caches at a temporary directory, so that no
// test touches the user's own. Call before the application object is made.
inline void isolatehome(const QTemporaryDir& home) {
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (home.path() + QStringLiteral("/cache")).toLocal8Bit());
}

#pragma once

#include "engine/normalrotate.h"
#include "jpeg/pixelsentry.h"

namespace pivotel {

// The engine's part of the pixels module (libpivotel-pixels.so, see jpeg/pixelsentry.h): the
// re-encoding turns, which decode and encode pixels with Qt Gui.

// The turns in the calling process: what the module runs for normalrotatenew and
// reencodeatownquality.
[[nodiscard]] Result<Rotation> normalrotatenewhere(const QString& path, Action action, const QString& target,
                                                   int quality);
[[nodiscard]] Result<Rotation> reencodeatownqualityhere(const QString& path, Action action,
                                                        const QString& target);

// What the module hands the engine. A module whose `abi` differs is refused.
struct PixelsEngineEntry {
    int abi;
    decltype(&normalrotatenewhere) normalrotatenew;
    decltype(&reencodeatownqualityhere) reencodeatownquality;
};
inline constexpr const char* pixelsenginesymbol = "pivotel_pixelsengineentry";

} // namespace pivotel

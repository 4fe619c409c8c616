#pragma once

#include "look/lookbatch.h"

namespace pivotel {

// The picture check is a module of its own (libpivotel-look.so), loaded the first time a check
// runs: OpenCV and Tesseract bring some fifty libraries whose loading would cost every run of
// the programs about 16 ms, a third of turning a phone photo.

// The check itself, in the calling process: what the module runs.
Status lookatphotoshere(const QStringList& paths, int jobs,
                        const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                        const std::function<bool()>& stopped);

// What the module hands the program that loads it. A module whose `abi` differs is refused
// rather than called with arguments it reads otherwise.
struct LookEntry {
    int abi;
    decltype(&lookatphotoshere) lookatphotos;
};
inline constexpr int lookabi = 1;
inline constexpr const char* lookentrysymbol = "pivotel_lookentry";

// The module's file: PIVOTEL_LOOK_MODULE when set, else beside the program as installed
// (PREFIX/lib/pivotel) or in the bundle (Contents/PlugIns).
[[nodiscard]] QString lookmodulefile();

} // namespace pivotel

#pragma once

#include <memory>
#include <turbojpeg.h>

namespace pivotel {

// Owners of what the TurboJPEG API hands out.
struct TjHandleDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
struct TjBufferDeleter {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};
using TjHandle = std::unique_ptr<void, TjHandleDeleter>;
using TjBuffer = std::unique_ptr<unsigned char, TjBufferDeleter>;

} // namespace pivotel

#include "support/memorypolicy.h"

#include <cstdlib> // defines __GLIBC__ with the C library's version
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace pivotel {

void reusephotobuffers() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);                       // the worker allocates from the same heap
    mallopt(M_MMAP_MAX, 0);                        // large blocks from the heap, not mapped each time
    mallopt(M_TRIM_THRESHOLD, 1024 * 1024 * 1024); // and kept there when freed
#endif
}

bool freememorygoestohost(const std::string& sys) {
    // A balloon device's features, one character per bit; bit 5 is free page reporting.
    constexpr std::size_t reporting = 5;
    std::error_code error; // runs first thing in main: nothing may throw
    for (std::filesystem::directory_iterator device(sys + "/bus/virtio/drivers/virtio_balloon", error), end;
         !error && device != end; device.increment(error)) {
        std::string features;
        std::getline(std::ifstream(device->path() / "features"), features);
        if (features.size() > reporting && features[reporting] == '1')
            return true;
    }
    return false;
}

void restartwithhugepages(char* argv[], const std::string& sys) {
#if defined(__linux__) && defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 35)
    static const char tunables[] = "GLIBC_TUNABLES";
    static const char before[] = "PIVOTEL_TUNABLES_BEFORE"; // "unset", or "set:" and the value
    const auto giveback = [](const std::string& was) {
        if (was.rfind("set:", 0) == 0)
            setenv(tunables, was.c_str() + 4, 1);
        else
            unsetenv(tunables);
        unsetenv(before);
    };
    if (const char* was = std::getenv(before)) { // the second start
        giveback(was);
        return;
    }
    const char* set = std::getenv(tunables);
    if (set != nullptr && std::strstr(set, "glibc.malloc.hugetlb") != nullptr)
        return; // the user's choice
    std::string modes;
    std::getline(std::ifstream(sys + "/kernel/mm/transparent_hugepage/enabled"), modes);
    if (modes.find("[madvise]") == std::string::npos)
        return; // none to be had, or ("always") the heap gets them anyway
    if (freememorygoestohost(sys))
        return;
    const std::string was = set != nullptr ? std::string("set:") + set : std::string("unset");
    const std::string with = set != nullptr && *set != 0 ? std::string(set) + ":glibc.malloc.hugetlb=1"
                                                         : std::string("glibc.malloc.hugetlb=1");
    setenv(before, was.c_str(), 1);
    setenv(tunables, with.c_str(), 1);
    execv("/proc/self/exe", argv);
    giveback(was); // not started again: on as it is
#else
    (void)argv;
    (void)sys;
#endif
}

} // namespace pivotel

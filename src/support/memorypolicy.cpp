#include "support/memorypolicy.h"

#include <cstdlib> // defines __GLIBC__ with the C library's version
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace pivotel {

namespace {

// The kernel gives huge pages only to those who ask ("madvise"), and the user left the C
// library's own tunable for them alone.
bool askforhugepages() {
    std::string modes;
    std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled"), modes);
    const char* set = std::getenv("GLIBC_TUNABLES");
    return modes.find("[madvise]") != std::string::npos &&
           (set == nullptr || std::strstr(set, "glibc.malloc.hugetlb") == nullptr);
}

// This start is the second, with the whole heap on huge pages.
bool startedonhugepages = false;

} // namespace

void reusephotobuffers() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);                       // the worker allocates from the same heap
    mallopt(M_MMAP_MAX, 0);                        // large blocks from the heap, not mapped each time
    mallopt(M_TRIM_THRESHOLD, 1024 * 1024 * 1024); // and kept there when freed
#endif
}

void heaponhugepages(std::size_t bytes) {
#if defined(__linux__) && defined(__GLIBC__)
    static const bool ask = !startedonhugepages && askforhugepages();
    if (!ask || bytes == 0)
        return;
    // Taken from the heap and given back at once, untouched: it stays the heap's free top, where
    // the photo's own blocks are carved next.
    void* block = std::malloc(bytes);
    if (block == nullptr)
        return;
    constexpr std::uintptr_t huge = std::uintptr_t{2} << 20;
    const auto from = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t skip = ((from + huge - 1) & ~(huge - 1)) - from; // to the first huge page
    const std::uintptr_t whole = bytes > skip ? (bytes - skip) & ~(huge - 1) : 0;
    if (whole > 0)
        (void)madvise(static_cast<char*>(block) + skip, whole, MADV_HUGEPAGE);
    std::free(block);
#else
    (void)bytes;
#endif
}

void restartwithhugepages(char* argv[]) {
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
        startedonhugepages = true;
        return;
    }
    if (!askforhugepages())
        return; // none to be had, or ("always") the heap gets them anyway, or the user's choice
    const char* set = std::getenv(tunables);
    const std::string was = set != nullptr ? std::string("set:") + set : std::string("unset");
    const std::string with = set != nullptr && *set != 0 ? std::string(set) + ":glibc.malloc.hugetlb=1"
                                                         : std::string("glibc.malloc.hugetlb=1");
    setenv(before, was.c_str(), 1);
    setenv(tunables, with.c_str(), 1);
    execv("/proc/self/exe", argv);
    giveback(was); // not started again: on as it is
#else
    (void)argv;
#endif
}

} // namespace pivotel

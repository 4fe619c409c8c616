// Started by test_support. With no argument: starts itself again with huge pages as the programs
// do, then prints whether this start had the tunable set and what GLIBC_TUNABLES now holds for
// the programs it would run. With "--heap MB": doesn't start again, but readies the heap for a
// photo of that need as a short run does, fills a block of that size and prints how many of the
// process's kilobytes lie on huge pages.

#include "support/memorypolicy.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char* argv[]) {
    if (argc == 3 && std::strcmp(argv[1], "--heap") == 0) {
        const std::size_t bytes = std::strtoull(argv[2], nullptr, 10) << 20;
        pivotel::reusephotobuffers();
        pivotel::heaponhugepages(bytes);
        auto* block = static_cast<char*>(std::malloc(bytes));
        std::memset(block, 1, bytes);
        std::ifstream rollup("/proc/self/smaps_rollup");
        long kilobytes = -1;
        for (std::string line; std::getline(rollup, line);) {
            if (line.rfind("AnonHugePages:", 0) == 0)
                kilobytes = std::strtol(line.c_str() + 14, nullptr, 10);
        }
        std::printf("%ld\n", block[bytes - 1] == 1 ? kilobytes : -1);
        std::free(block);
        return 0;
    }
    pivotel::restartwithhugepages(argv);
    std::ifstream environ("/proc/self/environ"); // what this start began with
    const std::string began{std::istreambuf_iterator<char>(environ), std::istreambuf_iterator<char>()};
    const char* now = std::getenv("GLIBC_TUNABLES");
    std::printf("%s\n%s\n", began.find("glibc.malloc.hugetlb=1") != std::string::npos ? "huge" : "plain",
                now != nullptr ? now : "(unset)");
    return 0;
}

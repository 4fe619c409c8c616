// Started by test_support: starts itself again with huge pages as the programs do (sysfs read
// from the folder given as its argument, else /sys), then prints whether this start had the
// tunable set and what GLIBC_TUNABLES now holds for the programs it would run.

#include "support/memorypolicy.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char* argv[]) {
    pivotel::restartwithhugepages(argv, argc > 1 ? argv[1] : "/sys");
    std::ifstream environ("/proc/self/environ"); // what this start began with
    const std::string began{std::istreambuf_iterator<char>(environ), std::istreambuf_iterator<char>()};
    const char* now = std::getenv("GLIBC_TUNABLES");
    std::printf("%s\n%s\n", began.find("glibc.malloc.hugetlb=1") != std::string::npos ? "huge" : "plain",
                now != nullptr ? now : "(unset)");
    return 0;
}

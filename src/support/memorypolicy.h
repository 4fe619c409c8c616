#pragma once

#include <string>

namespace pivotel {

// A re-encoding run decodes each photo into a buffer of about a hundred megabytes and the
// encoder holds nearly as much again. By default the C library maps each such block afresh, and
// the kernel then faults in and zeroes it page by page: some forty thousand faults per photo,
// a quarter of the time of a re-encoding. This makes the process serve every block from one heap
// that keeps what is freed, so each photo reuses the pages of the one before. The memory of the
// largest photo stays with the process until it ends. Call it first thing in main, before any
// thread exists.
void reusephotobuffers();

// A photo's buffers (the coefficients of a lossless turn, a re-encoding's pixels) are tens of
// megabytes read and written across their whole length, a turn's column by column: on 4 KB pages
// the processor spends a good part of a turn looking pages up, and two workers hold each other up
// doing so. The C library puts its heap on huge pages when its tunable glibc.malloc.hugetlb=1 is
// set, but reads it only from the environment the program starts with. So, where the kernel gives
// huge pages to those who ask (its "madvise" mode) and the user hasn't set that tunable either
// way, this starts the program again, once, with it set (same process, same arguments); the
// second start gives the environment back as it was, for the programs it runs. Not in a virtual
// machine that gives its free memory back to the host (freememorygoestohost). `sys` is where
// sysfs is mounted. Call it first thing in main.
void restartwithhugepages(char* argv[], const std::string& sys = "/sys");

// True in a virtual machine whose balloon device reports free memory to the host, which takes it
// back: every free 2 MB block goes, so a huge page is faulted in from the host anew, and a
// 24-megapixel turn on them took 0.57 to 0.65 s instead of 0.29 s after a pause, and a batch of
// twelve 13% longer even run after run. Pages of 4 KB come from blocks the machine keeps. `sys`
// is where sysfs is mounted.
[[nodiscard]] bool freememorygoestohost(const std::string& sys = "/sys");

} // namespace pivotel

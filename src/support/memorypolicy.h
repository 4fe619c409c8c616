#pragma once

#include <cstddef>

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
// second start gives the environment back as it was, for the programs it runs. Call it first
// thing in main.
void restartwithhugepages(char* argv[]);

// A run that doesn't start again (no worker turns a second photo, so the second start would cost
// more than it saves) can still have huge pages for its photos: before a photo begins, this
// grows the heap by the photo's need and asks for huge pages there while none of it is touched
// yet, so the photo's blocks, carved from it next, fault in 2 MB at a time: a 24-megapixel turn
// takes some 38,000 faults fewer. Needs reusephotobuffers (large blocks from the heap). Does
// nothing where the kernel gives no huge pages or gives them anyway, or the tunable decides.
void heaponhugepages(std::size_t bytes);

} // namespace pivotel

#pragma once

namespace pivotel {

// A re-encoding run decodes each photo into a buffer of about a hundred megabytes and the
// encoder holds nearly as much again. By default the C library maps each such block afresh, and
// the kernel then faults in and zeroes it page by page: some forty thousand faults per photo,
// a quarter of the time of a re-encoding. This makes the process serve every block from one heap
// that keeps what is freed, so each photo reuses the pages of the one before. The memory of the
// largest photo stays with the process until it ends. Call it first thing in main, before any
// thread exists.
void reusephotobuffers();

} // namespace pivotel

#include "support/memorypolicy.h"

#include <cstdlib> // defines __GLIBC__ with the C library's version
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace pivotel {

void reusephotobuffers() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);                       // the worker allocates from the same heap
    mallopt(M_MMAP_MAX, 0);                        // large blocks from the heap, not mapped each time
    mallopt(M_TRIM_THRESHOLD, 1024 * 1024 * 1024); // and kept there when freed
#endif
}

} // namespace pivotel

#pragma once

#include <cstdio>
#include <jpeglib.h>

// Two things libjpeg exports though its public header doesn't declare them. Our progressive
// writer uses them so that its tables and coefficient order are libjpeg's own.
extern "C" {
// The zigzag position k of a block holds the coefficient at jpeg_natural_order[k].
extern const int jpeg_natural_order[];
// Makes the optimal Huffman table for the symbol counts in freq (257 entries, altered).
void jpeg_gen_optimal_table(j_compress_ptr cinfo, JHUFF_TBL* htbl, long freq[]);
}

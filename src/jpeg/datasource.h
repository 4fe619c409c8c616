#pragma once

#include "jpeg/libjpegextras.h"

#include <QByteArrayView>

namespace pivotel {

// Points libjpeg's reader at JPEG data in memory, handed over a few hundred bytes at a time.
// With its input that short, libjpeg's Huffman decoder always takes its careful path, which
// warns of every bad code; its quick path, taken when much input is at hand, reads a bad code
// as zero without a word, and the flaw would pass unreported into a turned file. Reading costs
// a few percent more. `data` must outlive the reading.
void jpegdatasource(j_decompress_ptr info, QByteArrayView data);

} // namespace pivotel

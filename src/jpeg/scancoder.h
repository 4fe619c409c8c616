#pragma once

#include "jpeg/coefficientplanes.h"
#include "support/status.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace pivotel {

// One scan of a progressive JPEG: which components, which band of zigzag positions (first to
// last), and the successive-approximation bits (high, low; high is 0 for a first pass).
struct ScanPlan {
    std::vector<int> components; // indices into CoefficientPlanes::components
    int first = 0, last = 0, high = 0, low = 0;
};

// Where a scan's symbols wait, with their bits, while its tables are made: chunks a coder keeps
// from one scan to the next. About 4 bytes a symbol: 26 MB for the largest scan of a
// 24-megapixel photo.
struct ScanRecords {
    ScanRecords(); // chunks of the size userecordchunks last set
    std::size_t chunkwords;
    struct Chunk {
        std::unique_ptr<uint32_t[]> words; // NOLINT(*-avoid-c-arrays): left unfilled until written
        std::size_t used = 0;
    };
    std::vector<Chunk> chunks;
    std::size_t filled = 0; // chunks in use
};

// The size of the chunks ScanRecords made from then on hold, in 32-bit words (a million unless
// set; at least 2048): tests make them small, so that scans cross from chunk to chunk.
void userecordchunks(std::size_t words);

// Codes one scan the way libjpeg does with optimised Huffman tables: a sweep over the blocks
// counts the symbols and records them, the tables are made from the counts, and the records are
// written with them. The answer is the scan as it stands in the file: its DHT segments, its SOS
// header and the coded data. Scans don't depend on one another, so several can be coded at once,
// each with records of its own.
[[nodiscard]] Result<QByteArray> codescan(const CoefficientPlanes& planes, const ScanPlan& plan,
                                          ScanRecords& records);

// The coder's builds: one for any processor, one for processors with AVX2, and the same gathering
// a refinement's correction bits with BMI2's pext where that instruction is quick (not on AMD's
// first two Zen generations); codescan takes the last of them the processor allows. All write
// the same bytes; tests run each, through usescancoder, which sets the build codescan takes from
// then on, in every thread.
enum class ScanCoderBuild { AnyProcessor, Avx2, Avx2Pext };
[[nodiscard]] std::vector<ScanCoderBuild> scancodershere();
void usescancoder(ScanCoderBuild coder);

} // namespace pivotel

#pragma once

#include "jpeg/coefficientplanes.h"
#include "support/status.h"

#include <QByteArray>
#include <vector>

namespace pivotel {

// One scan of a progressive JPEG: which components, which band of zigzag positions (first to
// last), and the successive-approximation bits (high, low; high is 0 for a first pass).
struct ScanPlan {
    std::vector<int> components; // indices into CoefficientPlanes::components
    int first = 0, last = 0, high = 0, low = 0;
};

// Codes one scan the way libjpeg does with optimised Huffman tables: a first sweep counts the
// symbols, the tables are made from those counts, a second sweep writes the data. The answer is
// the scan as it stands in the file: its DHT segments, its SOS header and the coded data.
// Scans don't depend on one another, so several can be coded at once.
[[nodiscard]] Result<QByteArray> codescan(const CoefficientPlanes& planes, const ScanPlan& plan);

// The coder's builds: one for any processor, one for processors with AVX2, and the same gathering
// a refinement's correction bits with BMI2's pext where that instruction is quick (not on AMD's
// first two Zen generations); codescan takes the last of them the processor allows. All write
// the same bytes; tests run each, through usescancoder, which sets the build codescan takes from
// then on, in every thread.
enum class ScanCoderBuild { AnyProcessor, Avx2, Avx2Pext };
[[nodiscard]] std::vector<ScanCoderBuild> scancodershere();
void usescancoder(ScanCoderBuild coder);

} // namespace pivotel

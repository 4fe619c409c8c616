#pragma once

#include "jpeg/coefficientplanes.h"
#include "jpeg/transform.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pivotel {

// A lossless transform done block by block while the source's coefficients are copied into the
// turned planes: where each source block goes and what becomes of its coefficients, exactly as
// libjpeg's transformer does it. The whole iMCUs are mirrored; the partial ones at an edge that
// would have to move stay where they are, only transposed by a quarter turn. A trimmed frame
// simply has no room for them.
class BlockTurn {
  public:
    // `sourcewidth` and `sourceheight` in pixels; `out` holds the turned frame's geometry.
    BlockTurn(JpegTransform op, int sourcewidth, int sourceheight, const CoefficientPlanes& out);

    // Places source row `row` of component `component` (`count` blocks, natural order) into `out`,
    // in zigzag order. Answers how many blocks it placed.
    long long placerow(CoefficientPlanes& out, int component, int row, const short* blocks, int count) const;

  private:
    // A block's coefficients after the move: for each zigzag position, the source coefficient
    // (natural order) and whether its sign flips.
    struct Recipe {
        std::array<int16_t, 64> from{}; // 16 bits each, as a permute takes them
        std::array<int16_t, 64> flip{}; // 0 or -1
        // The same the other way: where each source coefficient (natural order) goes, and
        // whether its sign flips. Most coefficients are zero, and only the others are moved.
        std::array<uint8_t, 64> to{};
        std::array<int16_t, 64> flipfrom{};
    };
    enum Kind { Copy, FlipColumns, FlipRows, FlipBoth, Transpose, TurnRight, TurnLeft, Transverse, Kinds };

    static Recipe recipe(Kind kind);

    JpegTransform op_;
    int mirrorcolumns_ = 0, mirrorrows_ = 0; // whole iMCUs, in the turned frame's MCUs
    std::array<Recipe, Kinds> recipes_;
};

// The ways of placing a block: the nonzero coefficients one by one, on any processor, or the
// whole block in two permutes where AVX-512 is had, which placerow takes where it can. Both
// place the same; tests run each, through useblockplacer, which sets the way placerow takes from
// then on, in every thread.
enum class BlockPlacer { AnyProcessor, Avx512 };
[[nodiscard]] std::vector<BlockPlacer> blockplacershere();
void useblockplacer(BlockPlacer placer);

} // namespace pivotel

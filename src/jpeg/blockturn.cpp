#include "jpeg/blockturn.h"

#include "jpeg/libjpegextras.h"

#include <atomic>
#include <bit>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#include <immintrin.h>
#define PIVOTEL_PLACE_AVX512_BUILD 1
#endif

namespace pivotel {

namespace {

// Which of a block's 64 coefficients aren't zero, one bit each.
uint64_t nonzeros(const short* block) {
#ifdef __SSE2__
    uint64_t zeros = 0;
    const __m128i zero = _mm_setzero_si128();
    for (int i = 0; i < 4; ++i) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + std::ptrdiff_t(16) * i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + std::ptrdiff_t(16) * i + 8));
        const __m128i packed = _mm_packs_epi16(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero));
        zeros |= uint64_t(uint16_t(_mm_movemask_epi8(packed))) << (16 * i);
    }
    return ~zeros;
#else
    uint64_t bits = 0;
    for (int n = 0; n < 64; ++n)
        bits |= uint64_t(block[n] != 0) << n;
    return bits;
#endif
}

#ifdef PIVOTEL_PLACE_AVX512_BUILD
// A whole block at once: two permutes of its 64 coefficients (two registers of 32), the signs
// flipped by mask. Where AVX-512 is had, this takes the place of moving the nonzero ones one by one.
[[gnu::target("avx512f,avx512bw")]] void placeblock(int16_t* to, const short* from, const int16_t* index,
                                                    const int16_t* flip) {
    const __m512i low = _mm512_loadu_si512(from), high = _mm512_loadu_si512(from + 32);
    for (int half = 0; half < 2; ++half) {
        const __m512i moved =
            _mm512_permutex2var_epi16(low, _mm512_loadu_si512(index + std::ptrdiff_t(32) * half), high);
        const __m512i sign = _mm512_loadu_si512(flip + std::ptrdiff_t(32) * half);
        _mm512_storeu_si512(to + std::ptrdiff_t(32) * half,
                            _mm512_sub_epi16(_mm512_xor_si512(moved, sign), sign));
    }
}

bool hasavx512() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
}
#endif

// The way placerow takes: the quickest here unless a test has asked for another.
std::atomic<BlockPlacer> chosen{blockplacershere().back()};

} // namespace

std::vector<BlockPlacer> blockplacershere() {
#ifdef PIVOTEL_PLACE_AVX512_BUILD
    static const bool avx512 = hasavx512();
    if (avx512)
        return {BlockPlacer::AnyProcessor, BlockPlacer::Avx512};
#endif
    return {BlockPlacer::AnyProcessor};
}

void useblockplacer(BlockPlacer placer) {
    chosen = placer;
}

BlockTurn::Recipe BlockTurn::recipe(Kind kind) {
    Recipe r;
    for (int k = 0; k < 64; ++k) {
        const int n = jpeg_natural_order[k]; // the turned block's coefficient at zigzag k
        const int row = n / 8, column = n % 8;
        const bool transposed =
            kind == Transpose || kind == TurnRight || kind == TurnLeft || kind == Transverse;
        r.from[std::size_t(k)] = int16_t(transposed ? column * 8 + row : n);
        // A mirror flips the sign of the odd frequencies across it.
        bool flip = false;
        switch (kind) {
        case FlipColumns:
        case TurnRight:
            flip = column % 2;
            break;
        case FlipRows:
        case TurnLeft:
            flip = row % 2;
            break;
        case FlipBoth:
        case Transverse:
            flip = (row + column) % 2;
            break;
        case Copy:
        case Transpose:
        case Kinds:
            break;
        }
        r.flip[std::size_t(k)] = flip ? -1 : 0;
        r.to[std::size_t(r.from[std::size_t(k)])] = uint8_t(k);
        r.flipfrom[std::size_t(r.from[std::size_t(k)])] = r.flip[std::size_t(k)];
    }
    return r;
}

BlockTurn::BlockTurn(JpegTransform op, int sourcewidth, int sourceheight, const CoefficientPlanes& out)
    : op_(op) {
    const int mcuwidth = 8 * out.maxhsamp(), mcuheight = 8 * out.maxvsamp();
    switch (op) {
    case JpegTransform::Rotate90:
        mirrorcolumns_ = sourceheight / mcuwidth;
        break;
    case JpegTransform::Rotate270:
        mirrorrows_ = sourcewidth / mcuheight;
        break;
    case JpegTransform::Rotate180:
        mirrorcolumns_ = sourcewidth / mcuwidth;
        mirrorrows_ = sourceheight / mcuheight;
        break;
    case JpegTransform::FlipHorizontal:
        mirrorcolumns_ = sourcewidth / mcuwidth;
        break;
    case JpegTransform::FlipVertical:
        mirrorrows_ = sourceheight / mcuheight;
        break;
    case JpegTransform::Transverse:
        mirrorcolumns_ = sourceheight / mcuwidth;
        mirrorrows_ = sourcewidth / mcuheight;
        break;
    case JpegTransform::Transpose:
    case JpegTransform::None:
        break;
    }
    for (int kind = 0; kind < Kinds; ++kind)
        recipes_[std::size_t(kind)] = recipe(Kind(kind));
}

long long BlockTurn::placerow(CoefficientPlanes& out, int component, int row, const short* blocks,
                              int count) const {
    ComponentPlane& plane = out.components[std::size_t(component)];
    const int columns = mirrorcolumns_ * plane.hsamp, rows = mirrorrows_ * plane.vsamp;
#ifdef PIVOTEL_PLACE_AVX512_BUILD
    const bool whole = chosen.load(std::memory_order_relaxed) == BlockPlacer::Avx512;
#endif
    long long placed = 0;
    for (int column = 0; column < count; ++column, blocks += 64) {
        int x = column, y = row;
        Kind kind = Copy;
        switch (op_) {
        case JpegTransform::Rotate90: // source rows become columns, right to left
            x = row < columns ? columns - 1 - row : row;
            y = column;
            kind = row < columns ? TurnRight : Transpose;
            break;
        case JpegTransform::Rotate270: // source columns become rows, bottom to top
            x = row;
            y = column < rows ? rows - 1 - column : column;
            kind = column < rows ? TurnLeft : Transpose;
            break;
        case JpegTransform::Rotate180: {
            const bool across = column < columns, down = row < rows;
            x = across ? columns - 1 - column : column;
            y = down ? rows - 1 - row : row;
            kind = across && down ? FlipBoth : across ? FlipColumns : down ? FlipRows : Copy;
            break;
        }
        case JpegTransform::FlipHorizontal:
            x = column < columns ? columns - 1 - column : column;
            kind = column < columns ? FlipColumns : Copy;
            break;
        case JpegTransform::FlipVertical:
            y = row < rows ? rows - 1 - row : row;
            kind = row < rows ? FlipRows : Copy;
            break;
        case JpegTransform::Transpose: // source rows become columns, left to right
            x = row;
            y = column;
            kind = Transpose;
            break;
        case JpegTransform::Transverse: { // source rows become columns right to left, bottom to top
            const bool across = row < columns, down = column < rows;
            x = across ? columns - 1 - row : row;
            y = down ? rows - 1 - column : column;
            kind = across && down ? Transverse : across ? TurnRight : down ? TurnLeft : Transpose;
            break;
        }
        case JpegTransform::None:
            break;
        }
        if (x >= plane.widthblocks || y >= plane.heightblocks) // trimmed off
            continue;
        const Recipe& r = recipes_[std::size_t(kind)];
        int16_t* to =
            plane.values.get() + (std::size_t(y) * std::size_t(plane.widthblocks) + std::size_t(x)) * 64;
#ifdef PIVOTEL_PLACE_AVX512_BUILD
        if (whole) {
            placeblock(to, blocks, r.from.data(), r.flip.data());
        } else
#endif
        {
            std::memset(to, 0, 64 * sizeof(int16_t));
            for (uint64_t left = nonzeros(blocks); left != 0; left &= left - 1) {
                const auto n = std::size_t(std::countr_zero(left));
                to[r.to[n]] = int16_t((blocks[n] ^ r.flipfrom[n]) - r.flipfrom[n]);
            }
        }
        plane.dcs[std::size_t(y) * std::size_t(plane.widthblocks) + std::size_t(x)] = to[0];
        ++placed;
    }
    return placed;
}

} // namespace pivotel

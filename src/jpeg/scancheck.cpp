#include "jpeg/scancheck.h"

#include "jpeg/segments.h"
#include "support/machine.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#include <immintrin.h>
#define PIVOTEL_SCAN_BMI2_BUILD 1
#endif

namespace pivotel {

namespace {

namespace anyprocessor {
#include "jpeg/scandecoder.inc"
} // namespace anyprocessor

#ifdef PIVOTEL_SCAN_BMI2_BUILD
#pragma GCC push_options
#pragma GCC target("popcnt,bmi,bmi2,lzcnt")
#define PIVOTEL_SCAN_PDEP 1
namespace withbmi2 {
#include "jpeg/scandecoder.inc"
} // namespace withbmi2
#undef PIVOTEL_SCAN_PDEP
#pragma GCC pop_options

// Processors whose pdep is slow take the other way.
bool quickpdep() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("popcnt") && quickbitdeposit();
}
#endif

} // namespace

std::vector<ScanDecoder> scandecodershere() {
#ifdef PIVOTEL_SCAN_BMI2_BUILD
    static const bool quick = quickpdep();
    if (quick)
        return {ScanDecoder::AnyProcessor, ScanDecoder::Bmi2};
#endif
    return {ScanDecoder::AnyProcessor};
}

ScanCheck decodescans(QByteArrayView picture, ScanDecoder decoder, int threads) {
#ifdef PIVOTEL_SCAN_BMI2_BUILD
    if (decoder == ScanDecoder::Bmi2)
        return withbmi2::decode(picture, threads);
#else
    (void)decoder;
#endif
    return anyprocessor::decode(picture, threads);
}

bool readcoefficients(QByteArrayView picture, ScanDecoder decoder, const BlockRowSink& place, int threads) {
#ifdef PIVOTEL_SCAN_BMI2_BUILD
    if (decoder == ScanDecoder::Bmi2)
        return withbmi2::readcoefficients(picture, place, threads);
#else
    (void)decoder;
#endif
    return anyprocessor::readcoefficients(picture, place, threads);
}

bool readcoefficients(QByteArrayView picture, const BlockRowSink& place, int threads) {
    static const ScanDecoder best = scandecodershere().back();
    return readcoefficients(picture, best, place, threads);
}

ScanCheck decodescans(QByteArrayView picture, int threads) {
    static const ScanDecoder best = scandecodershere().back();
    return decodescans(picture, best, threads);
}

} // namespace pivotel

#include "jpeg/scancoder.h"

#include "jpeg/jpegerror.h"
#include "jpeg/libjpegextras.h"
#include "support/machine.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <memory>
#include <vector>
#ifdef __SSE2__
#include <emmintrin.h>
#endif
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#include <immintrin.h>
#define PIVOTEL_SCAN_AVX2_BUILD 1
#endif

namespace pivotel {

namespace {

constexpr int tableslots = 4;
constexpr unsigned maxeobrun = 0x7FFF;
// libjpeg holds at most this many refinement bits before it forces the pending EOB run out;
// the same limit gives the same symbols.
constexpr unsigned maxcorrectionbits = 1000;
constexpr unsigned correctionlimit = maxcorrectionbits - 64 + 1;

// How often each symbol occurs in a scan, by Huffman table slot: what the tables are made from.
using SymbolCounts = std::array<std::array<long, 257>, tableslots>;

struct CodeTable {
    std::array<unsigned, 256> code{};
    std::array<int, 256> size{};
};
using CodeTables = std::array<CodeTable, tableslots>;

// A block's records, at most: 63 symbols with up to 64 bits each, ZRLs, and two end-of-block
// runs with a full buffer of held correction bits.
constexpr std::size_t recordblockroom = 1024;

namespace anyprocessor {
#include "jpeg/scancoder.inc"
} // namespace anyprocessor

#ifdef PIVOTEL_SCAN_AVX2_BUILD
#pragma GCC push_options
#pragma GCC target("avx2,bmi,bmi2,popcnt")
#define PIVOTEL_SCAN_AVX2 1
namespace withavx2 {
#include "jpeg/scancoder.inc"
} // namespace withavx2
#undef PIVOTEL_SCAN_AVX2
#pragma GCC pop_options

bool hasavx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
}
#endif

std::atomic<std::size_t> recordchunkwords{std::size_t(1) << 20};

// The build codescan takes: the quickest here unless a test has asked for another.
std::atomic<ScanCoderBuild> chosen{scancodershere().back()};

void putmarker(QByteArray& out, int marker, int length) {
    out.append(char(0xFF));
    out.append(char(marker));
    out.append(char(length >> 8));
    out.append(char(length & 0xFF));
}

// The tables this scan uses, in the order libjpeg writes them: by component, each once.
std::vector<int> scantables(const CoefficientPlanes& planes, const ScanPlan& plan) {
    std::vector<int> tables;
    if (plan.first == 0 && plan.high != 0)
        return tables; // a DC refinement has no table
    for (int index : plan.components) {
        const ComponentPlane& c = planes.components[std::size_t(index)];
        const int table = plan.first == 0 ? c.dctable : c.actable;
        if (std::find(tables.begin(), tables.end(), table) == tables.end())
            tables.push_back(table);
    }
    return tables;
}

// The canonical codes of a table, as libjpeg derives them: by length, then in table order.
CodeTable codesof(const JHUFF_TBL& table) {
    CodeTable codes;
    unsigned code = 0;
    int p = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < table.bits[length]; ++i, ++p) {
            codes.code[table.huffval[p]] = code++;
            codes.size[table.huffval[p]] = length;
        }
        code <<= 1;
    }
    return codes;
}

// libjpeg's table builder reports a failure through its error handler, which wants a codec.
class TableMaker {
  public:
    TableMaker() {
        info_.err = error_.install();
        jpeg_create_compress(&info_);
    }
    ~TableMaker() { jpeg_destroy_compress(&info_); }
    TableMaker(const TableMaker&) = delete;
    TableMaker& operator=(const TableMaker&) = delete;

    bool make(JHUFF_TBL& table, long* counts) {
        if (setjmp(error_.jump))
            return false;
        jpeg_gen_optimal_table(&info_, &table, counts);
        return true;
    }

  private:
    JpegError error_;
    jpeg_compress_struct info_{};
};

} // namespace

std::vector<ScanCoderBuild> scancodershere() {
#ifdef PIVOTEL_SCAN_AVX2_BUILD
    static const bool avx2 = hasavx2(), pext = avx2 && quickbitdeposit();
    if (pext)
        return {ScanCoderBuild::AnyProcessor, ScanCoderBuild::Avx2, ScanCoderBuild::Avx2Pext};
    if (avx2)
        return {ScanCoderBuild::AnyProcessor, ScanCoderBuild::Avx2};
#endif
    return {ScanCoderBuild::AnyProcessor};
}

void usescancoder(ScanCoderBuild coder) {
    chosen = coder;
}

ScanRecords::ScanRecords() : chunkwords(std::max(recordchunkwords.load(), 2 * recordblockroom)) {
}

void userecordchunks(std::size_t words) {
    recordchunkwords = words;
}

Result<QByteArray> codescan(const CoefficientPlanes& planes, const ScanPlan& plan, ScanRecords& records) {
    const auto refused = Status::failure(QStringLiteral("a coefficient is out of range for a JPEG scan"));
#ifdef PIVOTEL_SCAN_AVX2_BUILD
    const ScanCoderBuild build = chosen;
    const bool avx2 = build != ScanCoderBuild::AnyProcessor, pext = build == ScanCoderBuild::Avx2Pext;
    const auto recordsymbols = avx2 ? withavx2::recordscan : anyprocessor::recordscan;
    const auto replaysymbols = avx2 ? withavx2::replayscan : anyprocessor::replayscan;
#else
    const bool pext = false;
    const auto recordsymbols = anyprocessor::recordscan;
    const auto replaysymbols = anyprocessor::replayscan;
#endif
    SymbolCounts counts{};
    long long bits = 0; // the coded data's, without the 0s stuffed after 0xFF bytes
    if (!recordsymbols(planes, plan, counts, bits, records, pext))
        return refused;

    QByteArray out;
    CodeTables codes;
    TableMaker maker;
    for (int slot : scantables(planes, plan)) { // none for a DC refinement: a bit a block
        JHUFF_TBL table{};
        const auto symbolcounts = counts[std::size_t(slot)]; // the table maker spends its copy
        if (!maker.make(table, counts[std::size_t(slot)].data()))
            return Status::failure(QStringLiteral("the Huffman table can't be made"));
        codes[std::size_t(slot)] = codesof(table);
        for (std::size_t symbol = 0; symbol < 256; ++symbol)
            bits += symbolcounts[symbol] * codes[std::size_t(slot)].size[symbol];
        int symbols = 0;
        for (int length = 1; length <= 16; ++length)
            symbols += table.bits[length];
        putmarker(out, 0xC4, 2 + 1 + 16 + symbols);
        out.append(char(slot + (plan.first == 0 ? 0 : 0x10)));
        for (int length = 1; length <= 16; ++length)
            out.append(char(table.bits[length]));
        out.append(reinterpret_cast<const char*>(table.huffval), symbols);
    }

    const int count = int(plan.components.size());
    putmarker(out, 0xDA, 2 * count + 2 + 1 + 3);
    out.append(char(count));
    for (int index : plan.components) {
        const ComponentPlane& c = planes.components[std::size_t(index)];
        out.append(char(c.id));
        const int dc = plan.first == 0 && plan.high == 0 ? c.dctable : 0;
        const int ac = plan.first == 0 ? 0 : c.actable;
        out.append(char((dc << 4) + ac));
    }
    out.append(char(plan.first));
    out.append(char(plan.last));
    out.append(char((plan.high << 4) + plan.low));

    // The data's room at once, with some for stuffing (a byte in 256 of coded data is 0xFF) and
    // the edge blocks libjpeg adds to a DC scan's MCUs: growing as it goes, a scan's buffer was
    // copied and its fresh pages faulted in about twice over.
    const long long bytes = bits / 8;
    out.reserve(out.size() + qsizetype(bytes + bytes / 128 + 4096));

    replaysymbols(records, codes, out);
    return out;
}

} // namespace pivotel

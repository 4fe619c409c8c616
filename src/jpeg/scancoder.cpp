#include "jpeg/scancoder.h"

#include "jpeg/jpegerror.h"
#include "jpeg/libjpegextras.h"

#include <algorithm>
#include <array>
#include <bit>
#include <type_traits>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace pivotel {

namespace {

constexpr int tableslots = 4;
constexpr unsigned maxeobrun = 0x7FFF;
// libjpeg holds at most this many refinement bits before it forces the pending EOB run out;
// the same limit gives the same symbols.
constexpr unsigned maxcorrectionbits = 1000;
constexpr unsigned correctionlimit = maxcorrectionbits - 64 + 1;

int bitlength(unsigned value) {
    return value == 0 ? 0 : 32 - std::countl_zero(value);
}

// Built for processors without a popcount instruction, std::popcount is a call into the
// compiler's library, which a refinement's counting sweep makes for every block: inline instead.
int countbits(uint64_t bits) {
#ifdef __POPCNT__
    return std::popcount(bits);
#else
    bits -= (bits >> 1) & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return int((bits * 0x0101010101010101) >> 56);
#endif
}

// The counting sweep: only the symbols matter.
class CountSink {
  public:
    using Counts = std::array<std::array<long, 257>, tableslots>;
    explicit CountSink(Counts& counts) : counts_(counts) {}
    void symbol(int table, int value) { ++counts_[std::size_t(table)][std::size_t(value)]; }
    void symbolbits(int table, int value, unsigned, int) { symbol(table, value); }
    void bits(unsigned, int) {}
    void buffered(const char*, unsigned) {}
    void flush() {}

  private:
    Counts& counts_;
};

struct CodeTable {
    std::array<unsigned, 256> code{};
    std::array<int, 256> size{};
};

// The writing sweep: Huffman codes and raw bits into bytes, a 0 stuffed after each 0xFF.
class BitSink {
  public:
    BitSink(const std::array<CodeTable, tableslots>& tables, QByteArray& out) : tables_(tables), out_(out) {}

    void symbol(int table, int value) {
        const CodeTable& t = tables_[std::size_t(table)];
        bits(t.code[std::size_t(value)], t.size[std::size_t(value)]);
    }
    // A symbol and the `count` bits that follow it (up to 11), in one go.
    void symbolbits(int table, int value, unsigned extra, int count) {
        const CodeTable& t = tables_[std::size_t(table)];
        const int size = t.size[std::size_t(value)];
        bits((t.code[std::size_t(value)] << count) | (extra & ((1u << count) - 1)), size + count);
    }
    void bits(unsigned value, int count) {
        buffer_ = (buffer_ << count) | (value & ((uint64_t(1) << count) - 1));
        count_ += count;
        if (count_ >= 32)
            drain();
    }
    void buffered(const char* bits, unsigned count) {
        while (count > 0) {
            const unsigned chunk = count < 16 ? count : 16;
            unsigned value = 0;
            for (unsigned i = 0; i < chunk; ++i)
                value = (value << 1) | unsigned(bits[i]);
            this->bits(value, int(chunk));
            bits += chunk;
            count -= chunk;
        }
    }
    // Fills the last byte with ones, as libjpeg does at the end of a scan.
    void flush() {
        bits(0x7F, 7);
        drain();
        count_ = 0;
        out_.resize(used_);
    }

  private:
    void drain() {
        if (out_.size() - used_ < 16)
            out_.resize(out_.size() * 2 + 64);
        char* at = out_.data() + used_;
        if (count_ >= 32) {
            // Four bytes at once unless one of them needs a 0 after it.
            const auto word = static_cast<uint32_t>(buffer_ >> (count_ - 32));
            const uint32_t inverse = ~word; // a 0xFF byte is a zero byte of this
            if (((inverse - 0x01010101u) & ~inverse & 0x80808080u) == 0) {
                at[0] = char(word >> 24);
                at[1] = char(word >> 16);
                at[2] = char(word >> 8);
                at[3] = char(word);
                at += 4;
                count_ -= 32;
            }
        }
        while (count_ >= 8) {
            count_ -= 8;
            const auto byte = static_cast<unsigned char>(buffer_ >> count_);
            *at++ = char(byte);
            if (byte == 0xFF)
                *at++ = 0;
        }
        used_ = at - out_.data();
    }

    const std::array<CodeTable, tableslots>& tables_;
    QByteArray& out_;
    qsizetype used_ = out_.size();
    uint64_t buffer_ = 0;
    int count_ = 0;
};

// The entropy coding of one scan, symbol for symbol as libjpeg's progressive coder does it,
// so that the counts, and so the tables and the bytes, are the same.
template <typename Sink> class ScanCoder {
  public:
    ScanCoder(Sink& sink, const ScanPlan& plan, int actable)
        : sink_(sink), first_(plan.first), length_(plan.last - plan.first + 1), low_(plan.low),
          actable_(actable) {}

    bool failed() const { return failed_; }

    void dcfirst(int value, int slot, int table) {
        const int shifted = value >> low_;
        const int diff = shifted - lastdc_[std::size_t(slot)];
        lastdc_[std::size_t(slot)] = shifted;
        const int sign = diff >> 31;
        const unsigned magnitude = unsigned((diff ^ sign) - sign);
        const int nbits = bitlength(magnitude);
        if (nbits > 11)
            failed_ = true;
        sink_.symbolbits(table, nbits, magnitude ^ unsigned(sign), nbits);
    }

    void dcrefine(int value) { sink_.bits(unsigned(value >> low_), 1); }

    void acfirst(const int16_t* block) {
        const Prepared p = prepare(block);
        uint64_t nonzero = p.nonzero;
        if (nonzero && eobrun_ > 0)
            emiteobrun();
        int k = 0;
        while (nonzero) {
            int run = std::countr_zero(nonzero);
            nonzero >>= run;
            k += run;
            while (run > 15) {
                sink_.symbol(actable_, 0xF0);
                run -= 16;
            }
            const unsigned magnitude = p.magnitudes[std::size_t(first_) + std::size_t(k)];
            const int nbits = bitlength(magnitude);
            if (nbits > 10)
                failed_ = true;
            sink_.symbolbits(actable_, (run << 4) + nbits, (p.negative >> k) & 1 ? ~magnitude : magnitude,
                             nbits);
            ++k;
            nonzero >>= 1;
        }
        if (k < length_ && ++eobrun_ == maxeobrun)
            emiteobrun();
    }

    void acrefine(const int16_t* block) {
        if constexpr (std::is_same_v<Sink, CountSink>)
            return acrefinecount(block);
        const Prepared p = prepare(block);
        uint64_t nonzero = p.nonzero, positive = p.nonzero & ~p.negative;
        // The last coefficient that becomes nonzero in this pass.
        const int eob = p.ones ? 63 - std::countl_zero(p.ones) : 0;
        int run = 0, k = 0;
        unsigned pending = 0; // correction bits of this block not yet sent
        char* pendingbits = correction_.data() + bufferedcount_;
        while (nonzero) {
            const int skip = std::countr_zero(nonzero);
            run += skip;
            k += skip;
            nonzero >>= skip;
            positive >>= skip;
            while (run > 15 && k <= eob) {
                emiteobrun();
                sink_.symbol(actable_, 0xF0);
                run -= 16;
                sink_.buffered(pendingbits, pending);
                pendingbits = correction_.data();
                pending = 0;
            }
            const unsigned magnitude = p.magnitudes[std::size_t(first_) + std::size_t(k++)];
            if (magnitude > 1) {
                // Already nonzero: only its next bit goes out, with the next symbol.
                pendingbits[pending++] = char(magnitude & 1);
            } else {
                emiteobrun();
                sink_.symbolbits(actable_, (run << 4) + 1, unsigned(positive & 1), 1);
                sink_.buffered(pendingbits, pending);
                pendingbits = correction_.data();
                pending = 0;
                run = 0;
            }
            positive >>= 1;
            nonzero >>= 1;
        }
        run |= length_ - k;
        if (run > 0 || pending > 0) {
            ++eobrun_;
            bufferedcount_ += pending;
            if (eobrun_ == maxeobrun || bufferedcount_ > correctionlimit)
                emiteobrun();
        }
    }

    // The counting sweep of a refinement needs only the symbols, which follow from the masks:
    // between two newly nonzero coefficients, the zeros give the ZRLs and the run; what follows
    // the last one decides the end-of-block and how many correction bits wait with it.
    void acrefinecount(const int16_t* block) {
        const Prepared p = prepare(block);
        const uint64_t band = length_ == 64 ? ~uint64_t(0) : (uint64_t(1) << length_) - 1;
        const uint64_t zeros = ~p.nonzero & band, older = p.nonzero & ~p.ones;
        uint64_t ones = p.ones;
        int tail = 0; // just past the last newly nonzero coefficient
        if (ones)
            emiteobrun();
        while (ones) {
            const int at = std::countr_zero(ones);
            const int run = countbits(zeros & ((uint64_t(1) << at) - 1) & ~((uint64_t(1) << tail) - 1));
            for (int i = 0; i < run / 16; ++i)
                sink_.symbol(actable_, 0xF0);
            sink_.symbol(actable_, ((run % 16) << 4) + 1);
            tail = at + 1;
            ones &= ones - 1;
        }
        const uint64_t after = tail >= 64 ? 0 : band & (~uint64_t(0) << tail);
        const auto pending = unsigned(countbits(older & after));
        if ((zeros & after) != 0 || pending > 0) {
            ++eobrun_;
            bufferedcount_ += pending;
            if (eobrun_ == maxeobrun || bufferedcount_ > correctionlimit)
                emiteobrun();
        }
    }

    void finish() {
        emiteobrun();
        sink_.flush();
    }

  private:
    // The band's coefficients after the point transform: their magnitudes (all 64, by zigzag
    // position) and, from the band's first position on, which are nonzero, which are 1 and
    // which were negative.
    struct Prepared {
        uint64_t nonzero = 0, ones = 0, negative = 0;
        alignas(16) std::array<uint16_t, 64> magnitudes;
    };

    Prepared prepare(const int16_t* block) const {
        Prepared p;
        uint64_t zeros = 0, ones = 0, negative = 0;
#ifdef __SSE2__
        const __m128i shift = _mm_cvtsi32_si128(low_);
        const __m128i zero = _mm_setzero_si128(), one = _mm_set1_epi16(1);
        for (int i = 0; i < 8; ++i) {
            const __m128i value =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + std::ptrdiff_t(8) * i));
            const __m128i sign = _mm_srai_epi16(value, 15);
            const __m128i magnitude = _mm_srl_epi16(_mm_sub_epi16(_mm_xor_si128(value, sign), sign), shift);
            _mm_store_si128(reinterpret_cast<__m128i*>(p.magnitudes.data() + 8 * i), magnitude);
            const unsigned zs =
                unsigned(_mm_movemask_epi8(_mm_packs_epi16(_mm_cmpeq_epi16(magnitude, zero), sign)));
            const unsigned os =
                unsigned(_mm_movemask_epi8(_mm_packs_epi16(_mm_cmpeq_epi16(magnitude, one), zero)));
            zeros |= uint64_t(zs & 0xFF) << (8 * i);
            negative |= uint64_t(zs >> 8) << (8 * i);
            ones |= uint64_t(os & 0xFF) << (8 * i);
        }
#else
        for (int k = 0; k < 64; ++k) {
            const int value = block[k];
            const unsigned magnitude = unsigned(value < 0 ? -value : value) >> low_;
            p.magnitudes[std::size_t(k)] = uint16_t(magnitude);
            zeros |= uint64_t(magnitude == 0) << k;
            ones |= uint64_t(magnitude == 1) << k;
            negative |= uint64_t(value < 0) << k;
        }
#endif
        const uint64_t band = length_ == 64 ? ~uint64_t(0) : (uint64_t(1) << length_) - 1;
        p.nonzero = (~zeros >> first_) & band;
        p.ones = (ones >> first_) & band;
        p.negative = (negative >> first_) & band;
        return p;
    }

    void emiteobrun() {
        if (eobrun_ == 0)
            return;
        const int nbits = bitlength(eobrun_) - 1;
        sink_.symbol(actable_, nbits << 4);
        if (nbits)
            sink_.bits(eobrun_, nbits);
        eobrun_ = 0;
        sink_.buffered(correction_.data(), bufferedcount_);
        bufferedcount_ = 0;
    }

    Sink& sink_;
    int first_, length_, low_, actable_;
    std::array<int, 4> lastdc_{};
    unsigned eobrun_ = 0;
    unsigned bufferedcount_ = 0;
    std::array<char, maxcorrectionbits> correction_{};
    bool failed_ = false;
};

// Walks the scan's blocks in coding order. A scan of one component takes its blocks row by row;
// a DC scan of several takes them MCU by MCU, with the blocks past the right and bottom edges
// that fill the last MCUs made up as libjpeg makes them: no AC, the DC of the block before.
template <typename Sink> bool runscan(const CoefficientPlanes& planes, const ScanPlan& plan, Sink& sink) {
    const bool dc = plan.first == 0;
    const ComponentPlane& lead = planes.components[std::size_t(plan.components.front())];
    ScanCoder<Sink> coder(sink, plan, lead.actable);
    if (plan.components.size() == 1) {
        for (int row = 0; row < lead.heightblocks; ++row)
            for (int column = 0; column < lead.widthblocks; ++column) {
                if (!dc)
                    plan.high == 0 ? coder.acfirst(lead.block(row, column))
                                   : coder.acrefine(lead.block(row, column));
                else if (plan.high == 0)
                    coder.dcfirst(lead.dc(row, column), 0, lead.dctable);
                else
                    coder.dcrefine(lead.dc(row, column));
            }
    } else {
        const int mcuwidth = 8 * planes.maxhsamp(), mcuheight = 8 * planes.maxvsamp();
        const int mcucolumns = (planes.width + mcuwidth - 1) / mcuwidth;
        const int mcurows = (planes.height + mcuheight - 1) / mcuheight;
        for (int mcurow = 0; mcurow < mcurows; ++mcurow)
            for (int mcucolumn = 0; mcucolumn < mcucolumns; ++mcucolumn) {
                int previous = 0;
                for (std::size_t slot = 0; slot < plan.components.size(); ++slot) {
                    const ComponentPlane& c = planes.components[std::size_t(plan.components[slot])];
                    for (int y = 0; y < c.vsamp; ++y)
                        for (int x = 0; x < c.hsamp; ++x) {
                            const int row = mcurow * c.vsamp + y, column = mcucolumn * c.hsamp + x;
                            if (row < c.heightblocks && column < c.widthblocks)
                                previous = c.dc(row, column);
                            if (plan.high == 0)
                                coder.dcfirst(previous, int(slot), c.dctable);
                            else
                                coder.dcrefine(previous);
                        }
                }
            }
    }
    coder.finish();
    return !coder.failed();
}

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

Result<QByteArray> codescan(const CoefficientPlanes& planes, const ScanPlan& plan) {
    const auto refused = Status::failure(QStringLiteral("a coefficient is out of range for a JPEG scan"));
    CountSink::Counts counts{};
    const std::vector<int> tables = scantables(planes, plan);
    if (!tables.empty()) {
        CountSink counter(counts);
        if (!runscan(planes, plan, counter))
            return refused;
    }

    QByteArray out;
    std::array<CodeTable, tableslots> codes;
    TableMaker maker;
    for (int slot : tables) {
        JHUFF_TBL table{};
        if (!maker.make(table, counts[std::size_t(slot)].data()))
            return Status::failure(QStringLiteral("the Huffman table can't be made"));
        codes[std::size_t(slot)] = codesof(table);
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

    BitSink writer(codes, out);
    if (!runscan(planes, plan, writer))
        return refused;
    return out;
}

} // namespace pivotel

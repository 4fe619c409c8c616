#pragma once

#include <QByteArrayView>
#include <QString>
#include <cstdint>
#include <functional>
#include <vector>

namespace pivotel {

// What decoding every scan of a picture found.
struct ScanCheck {
    enum Verdict {
        Decoded,   // every scan decodes, to the last bit, with nothing stray between them
        Damaged,   // something libjpeg would stop at or warn about; `reason` says what
        NotHandled // a kind of JPEG this decoder leaves to libjpeg (arithmetic coding, 12 bits, …)
    };
    Verdict verdict = Decoded;
    QString reason;
};

// Entropy-decodes every scan of a Huffman-coded 8-bit JPEG, baseline or progressive, from its
// start-of-image through its end-of-image marker (`picture` holds exactly that), without
// keeping a coefficient: a progressive refinement scan needs only to know which coefficients
// are already non-zero, one bit each. It is as strict as libjpeg with warnings taken as
// errors: a bad Huffman code, a scan that runs out of data or leaves whole bytes unread, a
// restart marker out of turn, a scan out of progression order, tables missing or bogus.
// Scans that don't build on one another (each component's, in a progressive file) decode on up
// to `threads` threads at once; the verdict doesn't depend on it.
[[nodiscard]] ScanCheck decodescans(QByteArrayView picture, int threads = 1);

// Where a transform's reading hands each row of a component's blocks: `count` blocks of 64
// coefficients in natural order, as libjpeg's coefficient arrays hold them.
using BlockRowSink = std::function<void(int component, int row, const int16_t* blocks, int count)>;

// Reads the coefficients of a sequential Huffman-coded picture whose one scan holds all its
// components, and hands them to `place` a row of blocks at a time, in order. With `threads`
// over 1, a second thread hands the rows on while the next ones are read. False, with some rows
// perhaps handed already, for any other kind of picture and for anything the check above would
// call damaged: the caller then leaves the reading to libjpeg, which says what is wrong. The
// coefficients of a picture it reads are those libjpeg reads.
[[nodiscard]] bool readcoefficients(QByteArrayView picture, const BlockRowSink& place, int threads = 1);

// The two builds of that decoder: one for any processor, and one for processors with a quick
// BMI2, which decodescans takes where it can. Both give the same verdicts; tests run each.
enum class ScanDecoder { AnyProcessor, Bmi2 };
[[nodiscard]] std::vector<ScanDecoder> scandecodershere();
[[nodiscard]] ScanCheck decodescans(QByteArrayView picture, ScanDecoder decoder, int threads = 1);
[[nodiscard]] bool readcoefficients(QByteArrayView picture, ScanDecoder decoder, const BlockRowSink& place,
                                    int threads = 1);

} // namespace pivotel

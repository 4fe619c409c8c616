// Our progressive writer against TurboJPEG's: every turned photo must come out byte for byte as
// tjTransform writes it, whatever the thread count, whichever build of the scan coder and way of
// placing the blocks. And our scan decoder, which checks such files, against libjpeg: it never
// passes what libjpeg stops at.

#include "jpeg/blockturn.h"
#include "jpeg/jpegerror.h"
#include "jpeg/photofixture.h"
#include "jpeg/scancheck.h"
#include "jpeg/scancoder.h"
#include "jpeg/segments.h"
#include "jpeg/transform.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <turbojpeg.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

struct Source {
    const char* name;
    int width, height;
    int subsamp;       // TJSAMP_...
    bool cmyk = false; // written as YCCK with an Adobe segment
    int quality = 90;
    const char* env = nullptr; // TurboJPEG's encoder settings: restarts, progressive, arithmetic
    int exif = 0;              // an Exif segment first: 'M' or 'I' byte order
    // 'g' gradients; 'n' noise, many coefficients; 's' stripes, one large coefficient a block
    // whose refinement bits pile up till libjpeg's limit
    char look = 'g';
};

// An Exif segment whose Exif IFD holds the image width and height, which a quarter turn swaps.
QByteArray exifsegment(char order, int width, int height) {
    const bool m = order == 'M';
    QByteArray tiff;
    const auto put16 = [&](int v) {
        tiff.append(m ? char(v >> 8) : char(v)).append(m ? char(v) : char(v >> 8));
    };
    const auto put32 = [&](int v) {
        m ? (put16(0), put16(v)) : (put16(v), put16(0));
    };
    tiff.append(m ? "MM" : "II");
    put16(42);
    put32(8);
    put16(1); // IFD0: the Exif IFD's offset
    put16(0x8769), put16(4), put32(1), put32(26);
    put32(0);
    put16(2); // Exif IFD at 26
    put16(0xA002), put16(3), put32(1), put16(width), put16(0);
    put16(0xA003), put16(3), put32(1), put16(height), put16(0);
    put32(0);
    return QByteArray("Exif\0\0", 6) + tiff;
}

QByteArray compress(const Source& s) {
    std::vector<unsigned char> pixels(size_t(s.width) * s.height * 4);
    unsigned seed = 7;
    const Pixels p = pattern(s.width, s.height);
    for (size_t i = 0; i < size_t(s.width) * s.height; ++i)
        for (int c = 0; c < 4; ++c) {
            seed = seed * 1103515245 + 12345;
            const int base = c < 3 ? p.rgb[i * 3 + size_t(c)] : p.rgb[i * 3] / 2;
            int value = base;
            if (s.look == 'n')
                value = int(seed >> 16) & 255;
            else if (s.look == 's') // one horizontal frequency: one coefficient to refine a block
                value = 128 + int(100 * std::cos((2 * int(i % size_t(s.width) % 8) + 1) * M_PI / 16));
            pixels[i * 4 + size_t(c)] = static_cast<unsigned char>(value);
        }
    if (s.env)
        putenv(const_cast<char*>(s.env));
    tjhandle tj = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(tj, pixels.data(), s.width, 0, s.height, s.cmyk ? TJPF_CMYK : TJPF_RGBX, &out,
                               &size, s.subsamp, s.quality, 0);
    QByteArray jpeg(reinterpret_cast<const char*>(out), qsizetype(size));
    tjFree(out);
    tjDestroy(tj);
    for (const char* name : {"TJ_RESTART", "TJ_PROGRESSIVE", "TJ_ARITHMETIC"})
        unsetenv(name);
    EXPECT_EQ(rc, 0) << s.name;
    if (s.exif) {
        const QByteArray body = exifsegment(char(s.exif), s.width, s.height);
        const int length = int(body.size()) + 2;
        jpeg.insert(2, QByteArray("\xFF\xE1", 2) + char(length >> 8) + char(length) + body);
    }
    return jpeg;
}

// What TurboJPEG alone writes for the same turn.
QByteArray reference(const QByteArray& jpeg, JpegTransform op, EdgePolicy edges) {
    const int ops[] = {TJXOP_NONE,  TJXOP_ROT90, TJXOP_ROT180,    TJXOP_ROT270,
                       TJXOP_HFLIP, TJXOP_VFLIP, TJXOP_TRANSPOSE, TJXOP_TRANSVERSE};
    tjtransform t{};
    t.op = ops[int(op)];
    t.options = TJXOPT_PROGRESSIVE | (edges == EdgePolicy::Perfect ? TJXOPT_PERFECT
                                      : edges == EdgePolicy::Trim  ? TJXOPT_TRIM
                                                                   : 0);
    tjhandle tj = tjInitTransform();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    const int rc = tjTransform(tj, reinterpret_cast<const unsigned char*>(jpeg.constData()),
                               static_cast<unsigned long>(jpeg.size()), 1, &out, &size, &t, 0);
    QByteArray turned =
        rc == 0 ? QByteArray(reinterpret_cast<const char*>(out), qsizetype(size)) : QByteArray();
    tjFree(out);
    tjDestroy(tj);
    return turned;
}

using Progressive = PhotoFolder;

const Source sources[] = {
    {"4:2:0 odd size, Exif big-endian", 61, 45, TJSAMP_420, false, 90, nullptr, 'M'},
    {"4:2:2 odd size, Exif little-endian", 45, 37, TJSAMP_422, false, 75, nullptr, 'I'},
    {"4:4:0", 40, 33, TJSAMP_440},
    {"4:1:1 odd size", 67, 21, TJSAMP_411},
    {"4:4:4 with restarts", 48, 40, TJSAMP_444, false, 95, "TJ_RESTART=3B"},
    {"greyscale odd size", 53, 29, TJSAMP_GRAY},
    {"CMYK 4:2:0", 37, 27, TJSAMP_420, true},
    {"progressive source", 50, 34, TJSAMP_420, false, 85, "TJ_PROGRESSIVE=1"},
    {"arithmetic source", 34, 50, TJSAMP_422, false, 85, "TJ_ARITHMETIC=1"},
    {"smaller than a block", 7, 5, TJSAMP_420},
    {"noise at 100", 120, 72, TJSAMP_444, false, 100, nullptr, 0, 'n'},
    {"stripes", 256, 256, TJSAMP_GRAY, false, 75, nullptr, 0, 's'},
    // 32768 flat blocks: the run of end-of-blocks outgrows its counter
    {"flat, wide", 2048, 1024, TJSAMP_GRAY, false, 50},
};

// Whether libjpeg decodes the picture at 1/8 without an error or a warning, as the check did
// before it had a decoder of its own.
bool libjpegdecodes(QByteArrayView picture) {
    tjhandle tj = tjInitDecompress();
    int width = 0, height = 0, subsamp = 0, colorspace = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(picture.data());
    const auto size = static_cast<unsigned long>(picture.size());
    bool ok = tjDecompressHeader3(tj, bytes, size, &width, &height, &subsamp, &colorspace) == 0;
    if (ok) {
        std::vector<unsigned char> out(size_t((width + 7) / 8) * size_t((height + 7) / 8) * 4);
        const bool four = colorspace == TJCS_CMYK || colorspace == TJCS_YCCK;
        ok = tjDecompress2(tj, bytes, size, out.data(), (width + 7) / 8, 0, (height + 7) / 8,
                           four ? TJPF_CMYK : TJPF_RGBX, TJFLAG_STOPONWARNING) == 0;
    }
    tjDestroy(tj);
    return ok;
}

// A copy of `sound` damaged in its coded data (from `data` on) as `round` says: a byte changed,
// bytes dropped, a byte added, or the data cut short and an end marker put after it. Round 0
// leaves it sound.
QByteArray damagedcopy(const QByteArray& sound, qsizetype data, int round, const std::function<int(int)>& random) {
    QByteArray damaged = sound;
    const int at = int(data) + random(int(sound.size() - data) - 2);
    switch (round % 4) {
    case 1:
        damaged[at] = char(random(256));
        break;
    case 2:
        damaged.remove(at, 1 + random(3));
        break;
    case 3:
        damaged.insert(at, char(random(256)));
        break;
    default:
        damaged = round == 0 ? sound : damaged.left(at) + "\xFF\xD9";
        break;
    }
    return damaged;
}

// Every row of blocks libjpeg reads for a transform, by component and row; none when it stops or
// warns.
using BlockRows = std::map<std::pair<int, int>, std::vector<int16_t>>;
std::optional<BlockRows> libjpegrows(QByteArrayView jpeg) {
    JpegError error;
    jpeg_decompress_struct info{};
    info.err = error.install();
    BlockRows rows;
    bool read = false;
    if (setjmp(error.jump) == 0) {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(jpeg.data()), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&info, TRUE);
        jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
        for (int ci = 0; ci < info.num_components; ++ci) {
            const jpeg_component_info& c = info.comp_info[ci];
            for (JDIMENSION row = 0; row < c.height_in_blocks; ++row) {
                const JBLOCKARRAY blocks = (*info.mem->access_virt_barray)(
                    reinterpret_cast<j_common_ptr>(&info), arrays[ci], row, 1, FALSE);
                const short* first = blocks[0][0];
                rows[{ci, int(row)}].assign(first, first + std::size_t(c.width_in_blocks) * 64);
            }
        }
        jpeg_finish_decompress(&info);
        read = error.warningtext().isEmpty();
    }
    jpeg_destroy_decompress(&info);
    return read ? std::optional(rows) : std::nullopt;
}

} // namespace

// Our reader of a sequential photo's coefficients, which turns take instead of libjpeg's, on
// every kind of photo and on damaged copies: whatever it reads is what libjpeg reads, block for
// block; whatever libjpeg stops at or warns of, it leaves to libjpeg, so that the flaw is named.
TEST_F(Progressive, TheCoefficientReaderReadsWhatLibjpegReadsAndLeavesItEveryFlaw) {
    unsigned seed = 3;
    const auto random = [&seed](int below) {
        seed = seed * 1103515245 + 12345;
        return int((seed >> 8) % unsigned(below));
    };
    int flawed = 0, taken = 0;
    for (const Source& source : sources) {
        const QByteArray jpeg = compress(source);
        const bool sequential = source.env == nullptr || QByteArray(source.env).startsWith("TJ_RESTART");
        const qsizetype data = jpeg.indexOf("\xFF\xDA") + 14;
        for (int round = 0; round <= 40; ++round) {
            const QByteArray damaged = damagedcopy(jpeg, data, round, random);
            const auto end = pictureend(damaged);
            if (!end)
                continue;
            const QByteArrayView picture = QByteArrayView(damaged).first(*end);
            const auto expected = libjpegrows(picture);
            flawed += !expected;
            for (ScanDecoder decoder : scandecodershere())
                for (int threads : {1, 2}) {
                    BlockRows rows;
                    const bool read = readcoefficients(
                        picture, decoder,
                        [&](int component, int row, const int16_t* blocks, int count) {
                            rows[{component, row}].assign(blocks, blocks + std::size_t(count) * 64);
                        },
                        threads);
                    const auto what = testing::Message() << source.name << ", round " << round << ", decoder "
                                                         << int(decoder) << ", " << threads << " thread(s)";
                    if (round == 0) {
                        EXPECT_EQ(read, sequential) << what;
                    }
                    if (read) {
                        ++taken;
                        ASSERT_TRUE(expected.has_value()) << what;
                        EXPECT_TRUE(rows == *expected) << what;
                    }
                }
        }
    }
    EXPECT_GT(flawed, 100); // the damage is real
    EXPECT_GT(taken, 100);
}

TEST_F(Progressive, EveryTurnOfEveryKindOfPhotoIsByteForByteWhatTurboJpegWrites) {
    int threads = 0;
    const std::vector<ScanCoderBuild> coders = scancodershere();
    const std::vector<BlockPlacer> placers = blockplacershere();
    for (const Source& source : sources) {
        const QByteArray jpeg = compress(source);
        for (JpegTransform op :
             {JpegTransform::None, JpegTransform::Rotate90, JpegTransform::Rotate180,
              JpegTransform::Rotate270, JpegTransform::FlipHorizontal, JpegTransform::FlipVertical,
              JpegTransform::Transpose, JpegTransform::Transverse})
            for (EdgePolicy edges : {EdgePolicy::Perfect, EdgePolicy::Keep, EdgePolicy::Trim}) {
                const QByteArray expected = reference(jpeg, op, edges);
                for (ScanCoderBuild coder : coders)
                    for (BlockPlacer placer : placers) {
                        usescancoder(coder);
                        useblockplacer(placer);
                        const QString target = file("turned.jpg");
                        QFile::remove(target);
                        threads = threads % 3 + 1;
                        // Small chunks of records one time in two: scans cross from one to the next.
                        userecordchunks(threads % 2 ? 2048 : std::size_t(1) << 20);
                        const auto done = transformjpeg(jpeg, op, edges, target, threads);
                        const auto what = testing::Message()
                                          << source.name << ", op " << int(op) << ", edges " << int(edges)
                                          << ", " << threads << " thread(s), coder " << int(coder)
                                          << ", placer " << int(placer);
                        ASSERT_EQ(done.ok(), !expected.isEmpty()) << what;
                        if (done.ok()) {
                            ASSERT_TRUE(readbytes(target) == expected) << what;
                        }
                    }
            }
    }
    usescancoder(coders.back());
    useblockplacer(placers.back());
    userecordchunks(std::size_t(1) << 20);
}

// Every kind of photo, as TurboJPEG wrote it and as our writer turned it, decodes; then a few
// hundred damaged copies of each, bytes changed, dropped, added or cut off in the coded data:
// whatever libjpeg refuses, every build of our decoder refuses too, each for the same reason
// on any number of threads.
TEST_F(Progressive, TheScanDecoderPassesEverySoundPhotoAndNothingLibjpegRefuses) {
    const std::vector<ScanDecoder> decoders = scandecodershere();
    unsigned seed = 1;
    const auto random = [&seed](int below) {
        seed = seed * 1103515245 + 12345;
        return int((seed >> 8) % unsigned(below));
    };
    int refused = 0;
    for (const Source& source : sources) {
        const QByteArray jpeg = compress(source);
        const QString target = file("turned.jpg");
        QFile::remove(target);
        ASSERT_TRUE(transformjpeg(jpeg, JpegTransform::Rotate90, EdgePolicy::Keep, target, 1).ok());
        for (const QByteArray& sound : {jpeg, readbytes(target)}) {
            if (!libjpegdecodes(sound)) // TurboJPEG takes no 1×4 sampling (4:1:1 turned)
                continue;
            const bool arithmetic = sound.contains("\xFF\xC9") || sound.contains("\xFF\xCA");
            const qsizetype data = sound.indexOf("\xFF\xDA") + 14;
            for (int round = 0; round <= 60; ++round) {
                const QByteArray damaged = damagedcopy(sound, data, round, random);
                const auto end = pictureend(damaged);
                if (!end)
                    continue;
                const QByteArrayView picture = QByteArrayView(damaged).first(*end);
                const bool libjpeg = libjpegdecodes(picture);
                refused += !libjpeg;
                const ScanCheck first = decodescans(picture, decoders.front());
                const auto what = testing::Message()
                                  << source.name << ", round " << round << ": " << qPrintable(first.reason);
                if (round == 0) {
                    EXPECT_EQ(first.verdict, arithmetic ? ScanCheck::NotHandled : ScanCheck::Decoded) << what;
                }
                if (!libjpeg) {
                    EXPECT_NE(first.verdict, ScanCheck::Decoded) << what;
                }
                for (ScanDecoder other : decoders) {
                    const ScanCheck again = decodescans(picture, other, 1 + round % 3);
                    EXPECT_TRUE(again.verdict == first.verdict && again.reason == first.reason) << what;
                }
            }
        }
    }
    EXPECT_GT(refused, 300); // the damage is real
}

// What a byte-level change rarely makes: scans out of order, a restart marker out of turn, a
// byte left over after a scan, a table that isn't there.
TEST_F(Progressive, TheScanDecoderRefusesWhatIsOutOfPlace) {
    const QByteArray progressive = compress(sources[7]);
    const QByteArray restarts = compress(sources[4]);
    const auto scans = [](const QByteArray& jpeg) {
        std::vector<qsizetype> starts;
        for (qsizetype at = jpeg.indexOf("\xFF\xDA"); at >= 0; at = jpeg.indexOf("\xFF\xDA", at + 2))
            starts.push_back(at);
        return starts;
    };
    const auto swapped = [&] {
        // The last scan, a refinement, moved with the tables before it in front of the second,
        // the first pass of the same coefficients.
        const std::vector<qsizetype> at = scans(progressive);
        QByteArray jpeg = progressive;
        const qsizetype refinement = jpeg.lastIndexOf("\xFF\xC4", at.back());
        const QByteArray moved = jpeg.mid(refinement, jpeg.size() - 2 - refinement);
        jpeg.remove(refinement, moved.size());
        return jpeg.insert(jpeg.lastIndexOf("\xFF\xC4", at[1]), moved);
    }();
    QByteArray renumbered = restarts;
    renumbered[renumbered.indexOf("\xFF\xD1") + 1] = char(0xD2);
    QByteArray leftover = progressive;
    leftover.insert(scans(progressive)[1], char(0x55));
    QByteArray notables = restarts;
    for (qsizetype at; (at = notables.indexOf("\xFF\xC4")) >= 0;)
        notables.remove(at, 2 + (uchar(notables[at + 2]) << 8 | uchar(notables[at + 3])));
    const std::tuple<const char*, QByteArray, ScanCheck::Verdict, const char*> cases[] = {
        {"refinement before its first pass", swapped, ScanCheck::Damaged, "progression order"},
        {"restart marker out of turn", renumbered, ScanCheck::Damaged, "restart marker"},
        {"a byte left over after a scan", leftover, ScanCheck::Damaged, "stray bytes"},
        {"no Huffman tables: libjpeg's standard ones", notables, ScanCheck::NotHandled, ""},
    };
    for (const auto& [name, jpeg, verdict, says] : cases)
        for (ScanDecoder decoder : scandecodershere()) {
            const ScanCheck checked = decodescans(jpeg, decoder);
            EXPECT_EQ(checked.verdict, verdict) << name;
            EXPECT_TRUE(checked.reason.contains(QLatin1String(says)))
                << name << ": " << qPrintable(checked.reason);
        }
}

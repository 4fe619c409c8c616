// Our progressive writer against TurboJPEG's: every turned photo must come out byte for byte as
// tjTransform writes it, whatever the thread count.

#include "jpeg/photofixture.h"
#include "jpeg/transform.h"

#include <cmath>
#include <cstdlib>
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
    const int ops[] = {TJXOP_NONE, TJXOP_ROT90, TJXOP_ROT180, TJXOP_ROT270, TJXOP_HFLIP};
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

} // namespace

TEST_F(Progressive, EveryTurnOfEveryKindOfPhotoIsByteForByteWhatTurboJpegWrites) {
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
    int threads = 0;
    for (const Source& source : sources) {
        const QByteArray jpeg = compress(source);
        for (JpegTransform op : {JpegTransform::None, JpegTransform::Rotate90, JpegTransform::Rotate180,
                                 JpegTransform::Rotate270, JpegTransform::FlipHorizontal})
            for (EdgePolicy edges : {EdgePolicy::Perfect, EdgePolicy::Keep, EdgePolicy::Trim}) {
                const QByteArray expected = reference(jpeg, op, edges);
                const QString target = file("turned.jpg");
                QFile::remove(target);
                threads = threads % 3 + 1;
                const auto done = transformjpeg(jpeg, op, edges, target, threads);
                const auto what = testing::Message() << source.name << ", op " << int(op) << ", edges "
                                                     << int(edges) << ", " << threads << " thread(s)";
                ASSERT_EQ(done.ok(), !expected.isEmpty()) << what;
                if (done.ok()) {
                    ASSERT_TRUE(readbytes(target) == expected) << what;
                }
            }
    }
}

#include "jpeg/decode.h"
#include "jpeg/encode.h"
#include "jpeg/photofixture.h"
#include "jpeg/probe.h"
#include "jpeg/segments.h"
#include "jpeg/transform.h"
#include "jpeg/verify.h"
#include "support/othercolours.h"

#include <QFile>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// A picture's rows as the encoder takes them.
struct ImageRows : RowSource {
    explicit ImageRows(QImage picture) : image(std::move(picture)) {}
    int width() const override { return image.width(); }
    int height() const override { return image.height(); }
    QImage::Format format() const override { return image.format(); }
    int bytesperpixel() const override { return image.depth() / 8; }
    void copyrows(int first, int count, unsigned char* out, qsizetype stride) const override {
        for (int y = 0; y < count; ++y)
            std::memcpy(out + y * stride, image.constScanLine(first + y), size_t(stride));
    }
    QImage image;
};

using Jpeg = PhotoFolder;

// What `step` answers in a child process held to the address space it has and 4 MB more, most of
// it then taken, with what the heap had free: room for small things, none for a photo's pixels or
// coefficients. An empty answer is success.
QByteArray saidwithoutmemory(const std::function<QString()>& step) {
    std::array<int, 2> channel{};
    if (pipe(channel.data()) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child < 0)
        return "no child";
    if (child == 0) {
        long pages = 0;
        std::FILE* statm = std::fopen("/proc/self/statm", "r");
        if (statm == nullptr || std::fscanf(statm, "%ld", &pages) != 1)
            _exit(1);
        std::fclose(statm);
        std::vector<void*> held;
        held.reserve(std::size_t(1) << 16);
        rlimit limit{};
        limit.rlim_cur = limit.rlim_max = rlim_t(pages * sysconf(_SC_PAGESIZE) + (4 << 20));
        setrlimit(RLIMIT_AS, &limit);
        for (void* block = nullptr; held.size() < held.capacity() && (block = std::malloc(64 << 10));)
            held.push_back(block);
        for (int i = 0; i < 32 && !held.empty(); ++i) { // 2 MB back
            std::free(held.back());
            held.pop_back();
        }
        const QByteArray said = step().toUtf8();
        const bool sent = write(channel[1], said.constData(), std::size_t(said.size())) == said.size();
        _exit(sent ? 0 : 1);
    }
    close(channel[1]);
    QByteArray said;
    std::array<char, 512> buffer{};
    for (ssize_t got; (got = read(channel[0], buffer.data(), buffer.size())) > 0;)
        said.append(buffer.data(), got);
    close(channel[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return "the child failed: " + said;
    return said;
}

} // namespace

// What the probe reads of a sound header is tested with the encoder.
TEST_F(Jpeg, ProbeRefusesWhatGivesNoPicture) {
    writepattern(file("good.jpg"), 40, 30);
    const QByteArray bytes = readbytes(file("good.jpg"));
    // The frame header's height and width fields sit 5 and 7 bytes after the SOF0 marker.
    const qsizetype sof = bytes.indexOf("\xFF\xC0");
    const QByteArray cases[] = {"hello", bytes.left(20),
                                bytes.left(sof + 5) + QByteArray(2, 0) + bytes.mid(sof + 7),
                                bytes.left(sof + 7) + QByteArray(2, 0) + bytes.mid(sof + 9)};
    for (const QByteArray& content : cases) {
        writebytes(file("bad.jpg"), content);
        EXPECT_FALSE(probejpeg(file("bad.jpg"))) << content.left(sof + 9).toHex().constData();
    }
    EXPECT_FALSE(probejpeg(file("missing.jpg")));
    EXPECT_FALSE(probejpeg(dir.path()));
    // A FIFO, also behind a link, is refused at once: opened for a plain read it would hang.
    ASSERT_EQ(::mkfifo(QFile::encodeName(file("pipe.jpg")).constData(), 0600), 0);
    QFile::link(file("pipe.jpg"), file("link.jpg"));
    EXPECT_EQ(probejpeg(file("pipe.jpg")).reason(), QStringLiteral("not a regular file"));
    EXPECT_FALSE(probejpeg(file("link.jpg")));
}

TEST_F(Jpeg, PictureEndIsJustPastTheEndOfImageWhateverFollowsOrHidesInItsSegments) {
    writepattern(file("small.jpg"), 8, 8);
    const QByteArray small = readbytes(file("small.jpg"));
    writepattern(file("photo.jpg"), 64, 48); // enough coded data to hold stuffed bytes (0xFF 0x00)
    const QByteArray photo = readbytes(file("photo.jpg"));
    ASSERT_TRUE(photo.contains(QByteArray("\xFF\x00", 2)));
    // An EXIF thumbnail is a whole JPEG, end of image included, inside an APP1 segment.
    insertsegment(file("photo.jpg"), 0xE1, QByteArray("Exif\0\0", 6) + small);
    const QByteArray withthumbnail = readbytes(file("photo.jpg"));
    // A motion photo's video follows the picture; so may a camera's further pictures.
    const QByteArray video = QByteArray::fromHex("00000018") + "ftypmp42" + small + QByteArray(500, '\xFF');
    const std::tuple<const char*, QByteArray, qsizetype> cases[] = {
        // what, the data, its end (-1: refused)
        {"video after", photo + video, photo.size()},
        {"thumbnail inside", withthumbnail + video, withthumbnail.size()},
        {"last byte lost", photo.chopped(1), -1},
        {"cut in the scan", photo.left(photo.size() / 2), -1},
        {"cut in a segment", withthumbnail.left(40), -1},
        {"a stray byte after the JFIF segment, skipped as decoders do", photo.left(20) + "x" + photo.mid(20),
         photo.size() + 1},
        {"not a JPEG", video, -1}};
    for (const auto& [what, data, expected] : cases) {
        const auto end = pictureend(data);
        EXPECT_EQ(end ? *end : -1, expected) << what << ": " << qPrintable(end.reason());
    }
}

// Whole profiles, plain JFIF densities and grey pictures go through the engine's turns.
TEST_F(Jpeg, DecodesPixelsResolutionSoundProfileAndOtherSegmentsInOrderAndRefusesWhatItCannot) {
    const std::pair<const char*, qint64> cases[] = {
        {"-JFIF:ResolutionUnit=inches -JFIF:XResolution=300 -JFIF:YResolution=240", 240},
        {"-JFIF:ResolutionUnit=cm -JFIF:XResolution=118 -JFIF:YResolution=118", 300},
        {"-JFIF:ResolutionUnit=inches -JFIF:YResolution=300 -EXIF:ResolutionUnit=inches "
         "-EXIF:YResolution=350 -XMP:Title=Harbour -Comment=k",
         350},
        {"-EXIF:ResolutionUnit=inches -EXIF:YResolution=72.9", 72}, // cut, not rounded
        {"-EXIF:ResolutionUnit=cm -EXIF:YResolution=100", 254},
        {"-JFIF:all= -n -EXIF:ResolutionUnit=2 -EXIF:YResolution=240 -EXIF:Orientation=6", 240}};
    for (const auto& [tags, jpgdpi] : cases) {
        SCOPED_TRACE(tags);
        writepattern(file("tagged.jpg"), 61, 45, Sampling::S420);
        writetags(file("tagged.jpg"), QString::fromLatin1(tags).split(QLatin1Char(' ')));
        // A profile whose first chunk is lost is no profile; the photo itself is sound.
        insertsegment(file("tagged.jpg"), 0xE2, QByteArray("ICC_PROFILE\0\x02\x02xx", 16));
        const auto picture = decodepicture(file("tagged.jpg"));
        ASSERT_TRUE(picture) << qPrintable(picture.reason());
        EXPECT_EQ(picture->jpgdpi, jpgdpi);
        EXPECT_EQ(picture->image.format(), QImage::Format_RGBX8888);
        EXPECT_EQ(maxdifference(pixelsof(picture->image), decodejpeg(file("tagged.jpg"))), 0); // as stored
        EXPECT_TRUE(picture->colorprofile.isEmpty());
        QList<QByteArray> expected, got;
        for (const QByteArray& segment : appsegments(file("tagged.jpg"))) {
            if (!segment.mid(4).startsWith("ICC_PROFILE"))
                expected << segment.mid(4);
        }
        for (const MarkerSegment& segment : picture->segments)
            got << segment.body;
        EXPECT_EQ(got, expected);
    }
    // Flawed data and CMYK go through the engine's turns.
    writebytes(file("text.jpg"), "not a photo");
    writecmyk(file("cmyk.jpg"), pattern(16, 16));
    for (const auto& [name, says] :
         {std::pair{"text.jpg", "can't be decoded"}, {"missing.jpg", "can't be read"}}) {
        const auto picture = decodepicture(file(name));
        EXPECT_TRUE(!picture && picture.reason().contains(QLatin1String(says)))
            << name << ": " << qPrintable(picture.reason());
    }
    // TurboJPEG stores CMYK as YCCK; decoded reduced it gives nothing rather than false colours.
    EXPECT_EQ(probejpeg(file("cmyk.jpg"))->colorspace, JpegColorSpace::Ycck);
    EXPECT_TRUE(decodereduced(file("cmyk.jpg"), nullptr).picture.isNull());
}

TEST_F(Jpeg, DecodesReducedAtTheSmallestReductionThatCoversTheShownSize) {
    writepattern(file("big.jpg"), 1601, 1203);
    writegrey(file("grey.jpg"), pattern(40, 30));
    const QSize big(1601, 1203), whole; // whole: no size asked
    const std::tuple<const char*, QSize, QSize> cases[] = {
        // the photo, the size shown, the size decoded

        {"big.jpg", {201, 151}, {201, 151}}, {"big.jpg", {100, 20}, {201, 151}},  // an eighth, rounded up
        {"big.jpg", {202, 151}, {401, 301}}, {"big.jpg", {201, 302}, {801, 602}}, // a quarter, a half
        {"big.jpg", {802, 10}, big},         {"big.jpg", whole, big},
        {"grey.jpg", whole, {40, 30}}};
    for (const auto& [name, asked, decoded] : cases) {
        SCOPED_TRACE(testing::Message() << name << " shown at " << testing::PrintToString(asked));
        const std::function<QSize(QSize)> shown = [&](QSize photo) {
            return photo == big ? asked : QSize();
        };
        const ReducedPicture reduced = decodereduced(file(name), asked.isValid() ? shown : nullptr);
        ASSERT_EQ(reduced.picture.size(), decoded);
        EXPECT_EQ(reduced.picture.format(), QImage::Format_RGB888);
        EXPECT_EQ(reduced.photosize, asked.isValid() ? big : decoded);
        EXPECT_LE(meandifference(pixelsof(reduced.picture), wholescaled(file(name), decoded)), meantolerance);
    }
    // Damaged data gives what could be decoded of it.
    writebytes(file("cut.jpg"), readbytes(file("big.jpg")).first(20000));
    EXPECT_EQ(decodereduced(file("cut.jpg"), nullptr).picture.size(), big);
    writebytes(file("text.jpg"), "not a photo");
    EXPECT_TRUE(decodereduced(file("text.jpg"), nullptr).picture.isNull());
}

// The probe reads back what the encoder wrote.
TEST_F(Jpeg, EncodesEveryRowOfEachFormatHalvingChromaOnlyBelowNinety) {
    // EXIF blocks whose orientation comes after another tag, in either byte order, and one empty.
    const QByteArray mm("Exif\0\0MM\0\x2a\0\0\0\x08\0\x02\x01\x0f\0\x02\0\0\0\x04Tst\0\x01\x12\0\x03\0\0\0"
                        "\x01\0\x06\0\0\0\0\0\0",
                        44);
    const QByteArray ii("Exif\0\0II\x2a\0\x08\0\0\0\x02\0\x0f\x01\x02\0\x04\0\0\0Tst\0\x12\x01\x03\0\x01\0\0"
                        "\0\x08\0\0\0\0\0\0\0",
                        44);
    const Pixels source = pattern(50, 300); // taller than the strips the encoder takes at a time
    const struct {
        QImage picture;
        int quality;
        QByteArray exif;
        JpegSampling sampling;
        std::optional<int> orientation;
    } cases[] = {{pictureof(source).convertToFormat(QImage::Format_RGBX8888), 89, mm, JpegSampling::S420, 6},
                 {pictureof(source), 90, ii, JpegSampling::S444, 8},
                 {greypictureof(source), 50, QByteArray("Exif\0\0", 6), JpegSampling::Grey, std::nullopt}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.quality);
        EncodeSettings settings;
        settings.quality = c.quality;
        settings.segments = {{0xE1, c.exif}};
        ASSERT_TRUE(encodejpeg(ImageRows(c.picture), settings, file("new.jpg")));
        const auto probe = probejpeg(file("new.jpg"));
        ASSERT_TRUE(probe) << qPrintable(probe.reason());
        EXPECT_EQ(probe->size, QSize(50, 300));
        EXPECT_EQ(probe->colorspace,
                  c.sampling == JpegSampling::Grey ? JpegColorSpace::Grey : JpegColorSpace::YCbCr);
        EXPECT_EQ(probe->sampling, c.sampling);
        EXPECT_EQ(probe->orientation, c.orientation);
        EXPECT_LE(meandifference(decodejpeg(file("new.jpg")), pixelsof(c.picture)), meantolerance);
    }
    EXPECT_FALSE(encodejpeg(ImageRows(pictureof(source)), {}, file("missing/new.jpg")));
}

TEST_F(Jpeg, TheCheckOfANewFilePassesOnlyAWholePictureOfTheSizeColoursAndTrailerExpected) {
    writepattern(file("p.jpg"), 40, 24);
    const QByteArray good = readbytes(file("p.jpg"));
    const QByteArray trailer("video");
    const qsizetype sos = good.indexOf("\xFF\xDA");
    QByteArray flipped = good; // a scan byte that breaks the entropy-coded data
    flipped[sos + 20] = char(0xFF);
    const std::tuple<const char*, QByteArray, ExpectedPicture, const char*> cases[] = {
        {"sound", good + trailer, {{40, 24}, JpegColorSpace::YCbCr, trailer}, ""},
        {"cut short", good.left(good.size() - 40), {{40, 24}, JpegColorSpace::YCbCr, {}}, "ends before"},
        {"damaged scan", flipped, {{40, 24}, JpegColorSpace::YCbCr, {}}, "check"},
        {"other size", good, {{24, 40}, JpegColorSpace::YCbCr, {}}, "40×24 pixels, not 24×40"},
        {"other colours", good, {{40, 24}, JpegColorSpace::Grey, {}}, "colour space"},
        {"trailer lost", good, {{40, 24}, JpegColorSpace::YCbCr, trailer}, "followed the picture"},
    };
    for (const auto& [name, data, expected, says] : cases) {
        const Status checked = checkjpeg(data, expected);
        EXPECT_EQ(checked.ok(), !*says) << name;
        EXPECT_TRUE(checked.reason().contains(QString::fromUtf8(says)))
            << name << ": " << qPrintable(checked.reason());
    }
}

// A photo that the memory left can't hold is reported as that, and no file is written: "damaged"
// or "too large" would send its owner looking for a flaw it hasn't got. Each step needs more than
// the 2 MB left: the turn the coefficients (11 MB), the decoding the pixels (15 MB), the encoding
// its coefficients for the optimised tables.
TEST_F(Jpeg, APhotoTheMemoryLeftCannotHoldIsSaidToBeSoNotDamaged) {
    const QString source = file("big.jpg"), target = file("new.jpg");
    writepattern(source, 2400, 1600, Sampling::S420);
    const QByteArray jpeg = readbytes(source);
    const ImageRows picture(QImage(2400, 1600, QImage::Format_RGB888));
    const struct {
        const char* step;
        std::function<QString()> run;
        const char* says;
    } steps[] = {
        {"a lossless turn",
         [&] { return transformjpeg(jpeg, JpegTransform::Rotate90, EdgePolicy::Keep, target, 1).reason(); },
         "not enough memory to turn it ("},
        {"a decoding", [&] { return decodepicture(source).reason(); }, "not enough memory to decode it ("},
        {"an encoding", [&] { return encodejpeg(picture, EncodeSettings{}, target).reason(); },
         "not enough memory to encode it ("},
    };
    for (const auto& [step, run, says] : steps) {
        const QByteArray said = saidwithoutmemory(run);
        EXPECT_TRUE(said.startsWith(says)) << step << ": " << said.constData();
        EXPECT_FALSE(QFile::exists(target)) << step;
    }
}

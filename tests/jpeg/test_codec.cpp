#include "jpeg/decode.h"
#include "jpeg/encode.h"
#include "jpeg/photofixture.h"
#include "jpeg/probe.h"
#include "jpeg/transform.h"
#include "support/othercolours.h"

#include <cstring>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// A picture's rows as the encoder takes them.
class ImageRows : public RowSource {
  public:
    explicit ImageRows(QImage image) : image_(std::move(image)) {}
    int width() const override { return image_.width(); }
    int height() const override { return image_.height(); }
    QImage::Format format() const override { return image_.format(); }
    int bytesperpixel() const override { return image_.depth() / 8; }
    void copyrows(int first, int count, unsigned char* out, qsizetype stride) const override {
        for (int y = 0; y < count; ++y)
            std::memcpy(out + y * stride, image_.constScanLine(first + y), size_t(stride));
    }

  private:
    QImage image_;
};

using Codec = PhotoFolder;

} // namespace

TEST_F(Codec, DecodesEveryPixelAsStoredOrSaysWhyItCannotFaithfully) {
    writepattern(file("colour.jpg"), 61, 45, Sampling::S420);
    writetags(file("colour.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=6")}); // not applied
    writegrey(file("grey.jpg"), pattern(40, 30));
    writebytes(file("truncated.jpg"), readbytes(file("colour.jpg")).chopped(200));
    writebytes(file("text.jpg"), "not a photo");
    writecmyk(file("cmyk.jpg"), 16, 16);
    const struct {
        const char* name;
        QImage::Format format;
        const char* refusal = nullptr;
    } cases[] = {{"colour.jpg", QImage::Format_RGBX8888},
                 {"grey.jpg", QImage::Format_Grayscale8},
                 {"truncated.jpg", {}, "can't be decoded"},
                 {"text.jpg", {}, "can't be decoded"},
                 {"cmyk.jpg", {}, "CMYK"},
                 {"missing.jpg", {}, "can't be read"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto picture = decodepicture(file(c.name));
        ASSERT_EQ(picture.ok(), !c.refusal) << qPrintable(picture.reason());
        if (c.refusal) {
            EXPECT_TRUE(picture.reason().contains(QLatin1String(c.refusal))) << qPrintable(picture.reason());
            continue;
        }
        EXPECT_EQ(picture->image.format(), c.format);
        EXPECT_EQ(maxdifference(pixelsof(picture->image), decodejpeg(file(c.name))), 0);
    }
}

// Whole profiles and plain JFIF densities make the round trip in the engine's tests.
TEST_F(Codec, DecodesTheResolutionTheSoundProfileAndEveryOtherSegmentInOrder) {
    const struct {
        const char* tags;
        qint64 jpgdpi;
    } cases[] = {{"-JFIF:ResolutionUnit=inches -JFIF:XResolution=300 -JFIF:YResolution=240", 240},
                 {"-JFIF:ResolutionUnit=cm -JFIF:XResolution=118 -JFIF:YResolution=118", 300},
                 {"-JFIF:YResolution=300 -EXIF:ResolutionUnit=inches -EXIF:YResolution=350 "
                  "-XMP:Title=Harbour -Comment=k",
                  350},
                 {"-EXIF:ResolutionUnit=inches -EXIF:YResolution=72.9", 72}, // cut, not rounded
                 {"-EXIF:ResolutionUnit=cm -EXIF:YResolution=100", 254},
                 {"-JFIF:all= -EXIF:ResolutionUnit=inches -EXIF:YResolution=240", 240}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tags);
        writepattern(file("tagged.jpg"), 32, 24);
        writetags(file("tagged.jpg"), QString::fromLatin1(c.tags).split(QLatin1Char(' ')));
        // A profile whose first chunk is lost is no profile; the photo itself is sound.
        insertsegment(file("tagged.jpg"), 0xE2,
                      QByteArray("ICC_PROFILE\0\x02\x02", 14) + QByteArray(100, 'x'));
        const auto picture = decodepicture(file("tagged.jpg"));
        ASSERT_TRUE(picture) << qPrintable(picture.reason());
        EXPECT_EQ(picture->jpgdpi, c.jpgdpi);
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
}

TEST_F(Codec, DecodesReducedAtTheSmallestReductionThatCoversTheShownSize) {
    writepattern(file("big.jpg"), 1601, 1203);
    writegrey(file("grey.jpg"), pattern(40, 30));
    const QSize big(1601, 1203), whole; // whole: no size asked
    const struct {
        const char* name;
        QSize shown, decoded;
    } cases[] = {
        {"big.jpg", {201, 151}, {201, 151}}, {"big.jpg", {100, 20}, {201, 151}},  // an eighth, rounded up
        {"big.jpg", {202, 151}, {401, 301}}, {"big.jpg", {401, 301}, {401, 301}}, // a quarter
        {"big.jpg", {201, 302}, {801, 602}}, {"big.jpg", {801, 602}, {801, 602}}, // a half
        {"big.jpg", {802, 10}, big},         {"big.jpg", whole, big},
        {"grey.jpg", whole, {40, 30}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << " shown at " << testing::PrintToString(c.shown));
        const std::function<QSize(QSize)> shown = [&](QSize photo) {
            return photo == big ? c.shown : QSize();
        };
        const ReducedPicture reduced =
            decodereduced(readbytes(file(c.name)), c.shown.isValid() ? shown : nullptr);
        ASSERT_EQ(reduced.picture.size(), c.decoded);
        EXPECT_EQ(reduced.picture.format(), QImage::Format_RGB888);
        EXPECT_EQ(reduced.photosize, c.shown.isValid() ? big : c.decoded);
        EXPECT_LE(meandifference(pixelsof(reduced.picture), wholescaled(file(c.name), c.decoded)),
                  meantolerance);
    }
    // Damaged data gives what could be decoded of it; CMYK data nothing rather than false colours.
    EXPECT_EQ(decodereduced(readbytes(file("big.jpg")).first(20000), nullptr).picture.size(), big);
    writecmyk(file("cmyk.jpg"), 16, 16);
    EXPECT_TRUE(decodereduced(readbytes(file("cmyk.jpg")), nullptr).picture.isNull());
    EXPECT_TRUE(decodereduced("not a photo", nullptr).picture.isNull());
}

TEST_F(Codec, EncodesEveryRowOfEachFormatHalvingChromaOnlyBelowNinety) {
    const Pixels source = pattern(50, 300); // taller than the strips the encoder takes at a time
    const struct {
        QImage picture;
        int quality;
        JpegSampling sampling;
    } cases[] = {{pictureof(source).convertToFormat(QImage::Format_RGBX8888), 89, JpegSampling::S420},
                 {pictureof(source), 90, JpegSampling::S444},
                 {greypictureof(source), 50, JpegSampling::Grey}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.quality);
        EncodeSettings settings;
        settings.quality = c.quality;
        ASSERT_TRUE(encodejpeg(ImageRows(c.picture), settings, file("new.jpg")));
        EXPECT_EQ(probejpeg(file("new.jpg"))->sampling, c.sampling);
        EXPECT_LE(meandifference(decodejpeg(file("new.jpg")), pixelsof(c.picture)), meantolerance);
    }
    EXPECT_FALSE(encodejpeg(ImageRows(pictureof(source)), {}, file("missing/new.jpg")));
}

// Whole blocks turn exactly either way (the engine's tests show it); the policies differ on the
// partial blocks of a photo whose size isn't whole blocks.
TEST_F(Codec, TransformKeepHoldsThePhotosSizeTrimTurnsTheWholeBlocksExactly) {
    writepattern(file("odd.jpg"), 61, 45, Sampling::S420); // blocks of 16 x 16: 48 x 32 of them whole
    const Pixels original = decodejpeg(file("odd.jpg"));
    const struct {
        JpegTransform op;
        Action action;
        int width, height; // what Trim keeps of the source: what would have to move is dropped
    } cases[] = {{JpegTransform::None, Action::AsIs, 61, 45},
                 {JpegTransform::Rotate90, Action::Rotate90Clockwise, 61, 32},
                 {JpegTransform::Rotate180, Action::Rotate180, 48, 32},
                 {JpegTransform::Rotate270, Action::Rotate90Counterclockwise, 48, 45},
                 {JpegTransform::FlipHorizontal, Action::FlipLeft, 48, 45}};
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.op));
        ASSERT_TRUE(transformjpeg(readbytes(file("odd.jpg")), c.op, EdgePolicy::Keep, file("kept.jpg")));
        ASSERT_TRUE(transformjpeg(readbytes(file("odd.jpg")), c.op, EdgePolicy::Trim, file("trimmed.jpg")));
        const Pixels whole = turned(original, c.action), kept = decodejpeg(file("kept.jpg"));
        EXPECT_EQ(QSize(kept.width, kept.height), QSize(whole.width, whole.height));
        Pixels cropped{c.width, c.height, {}};
        for (int y = 0; y < c.height; ++y)
            cropped.rgb.insert(cropped.rgb.end(), original.at(0, y), original.at(0, y) + c.width * 3);
        EXPECT_LE(maxdifference(decodejpeg(file("trimmed.jpg")), turned(cropped, c.action)), idcttolerance);
    }
}

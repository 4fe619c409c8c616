#include "jpeg/decode.h"
#include "jpeg/photofixture.h"
#include "support/othercolours.h"

using namespace pivotel;
using namespace pivotel::test;

namespace {

// Bytes standing for a colour profile.
QByteArray profile(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(i * 7 % 251);
    return bytes;
}

// Embeds a profile as a photo does: in numbered APP2 chunks of at most 65519 bytes.
void insertprofile(const QString& path, const QByteArray& bytes, bool dropfirstchunk) {
    constexpr qsizetype chunk = 65519;
    const int chunks = int((bytes.size() + chunk - 1) / chunk);
    for (int n = chunks; n > int(dropfirstchunk); --n) // each goes right after SOI: the last first
        insertsegment(path, 0xE2,
                      QByteArray("ICC_PROFILE\0", 12) + char(n) + char(chunks) +
                          bytes.mid((n - 1) * chunk, chunk));
}

using Decode = PhotoFolder;

} // namespace

TEST_F(Decode, GivesEveryPixelAsStoredGreyStayingGrey) {
    writepattern(file("colour.jpg"), 61, 45, Sampling::S420);
    writetags(file("colour.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=6")}); // not applied
    writegrey(file("grey.jpg"), pattern(40, 30));
    for (const auto& [name, format] :
         {std::pair{"colour.jpg", QImage::Format_RGBX8888}, {"grey.jpg", QImage::Format_Grayscale8}}) {
        const auto picture = decodepicture(file(name));
        ASSERT_TRUE(picture) << qPrintable(picture.reason());
        EXPECT_EQ(picture->image.format(), format) << name;
        EXPECT_EQ(maxdifference(pixelsof(picture->image), decodejpeg(file(name))), 0) << name;
    }
}

TEST_F(Decode, GivesTheProfileTheResolutionAndEveryOtherSegmentInOrder) {
    const struct {
        const char* tags; // none: the encoder's JFIF header, which gives an aspect only
        qsizetype profilesize;
        bool firstchunklost; // a damaged profile is no profile; the photo itself is sound
        qint64 jpgdpi;
    } cases[] = {
        {"", 0, false, 72},
        {"-JFIF:ResolutionUnit=inches -JFIF:XResolution=300 -JFIF:YResolution=300", 3000, false, 300},
        {"-JFIF:ResolutionUnit=inches -JFIF:XResolution=300 -JFIF:YResolution=240", 100000, false, 240},
        {"-JFIF:ResolutionUnit=cm -JFIF:XResolution=118 -JFIF:YResolution=118", 100000, true, 300},
        {"-JFIF:ResolutionUnit=inches -JFIF:YResolution=300 -EXIF:ResolutionUnit=inches "
         "-EXIF:YResolution=350 "
         "-XMP-dc:Title=Harbour -Comment=kept",
         0, false, 350},
        {"-EXIF:ResolutionUnit=inches -EXIF:YResolution=72.9", 0, false, 72}, // cut, not rounded
        {"-EXIF:ResolutionUnit=cm -EXIF:YResolution=100", 0, false, 254},
        {"-JFIF:all= -EXIF:ResolutionUnit=inches -EXIF:YResolution=240", 0, false, 240}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tags);
        const QString path = file("tagged.jpg");
        writepattern(path, 32, 24);
        if (*c.tags)
            writetags(path, QString::fromLatin1(c.tags).split(QLatin1Char(' ')));
        if (c.profilesize > 0)
            insertprofile(path, profile(c.profilesize), c.firstchunklost);
        const auto picture = decodepicture(path);
        ASSERT_TRUE(picture) << qPrintable(picture.reason());
        EXPECT_EQ(picture->jpgdpi, c.jpgdpi);
        EXPECT_EQ(picture->colorprofile, c.firstchunklost ? QByteArray() : profile(c.profilesize));
        QList<QByteArray> expected, got;
        for (const QByteArray& segment : appsegments(path)) {
            if (!segment.mid(4).startsWith(QByteArray("ICC_PROFILE\0", 12)))
                expected << segment.mid(4);
        }
        for (const MarkerSegment& segment : picture->segments)
            got << segment.body;
        EXPECT_EQ(got, expected);
    }
}

TEST_F(Decode, RefusesWhatItCannotDecodeFaithfully) {
    writepattern(file("truncated.jpg"), 128, 128);
    writebytes(file("truncated.jpg"), readbytes(file("truncated.jpg")).left(900));
    writebytes(file("text.jpg"), "not a photo");
    writebytes(file("empty.jpg"), {});
    writecmyk(file("cmyk.jpg"), 16, 16);
    const std::pair<const char*, const char*> cases[] = {{"truncated.jpg", "can't be decoded"},
                                                         {"text.jpg", "can't be decoded"},
                                                         {"empty.jpg", "can't be decoded"},
                                                         {"cmyk.jpg", "CMYK"},
                                                         {"missing.jpg", "can't be read"}};
    for (const auto& [name, says] : cases) {
        const auto picture = decodepicture(file(name));
        ASSERT_FALSE(picture) << name;
        EXPECT_TRUE(picture.reason().contains(QLatin1String(says))) << qPrintable(picture.reason());
    }
}

TEST_F(Decode, ReducedAtTheSmallestReductionThatCoversTheShownSize) {
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
        QSize asked;
        const auto shown = [&](QSize photo) {
            return asked = photo, c.shown;
        };
        const ReducedPicture reduced =
            decodereduced(readbytes(file(c.name)), c.shown.isValid() ? std::function(shown) : nullptr);
        ASSERT_EQ(reduced.picture.size(), c.decoded);
        EXPECT_EQ(reduced.picture.format(), QImage::Format_RGB888);
        EXPECT_EQ(reduced.photosize, c.shown.isValid() ? big : c.decoded);
        EXPECT_EQ(asked, c.shown.isValid() ? big : QSize());
        EXPECT_LE(meandifference(pixelsof(reduced.picture), wholescaled(file(c.name), c.decoded)),
                  scalingtolerance);
    }
    // Damaged data gives what could be decoded of it; CMYK data nothing rather than false colours.
    writepattern(file("damaged.jpg"), 128, 128);
    EXPECT_EQ(decodereduced(readbytes(file("damaged.jpg")).first(1500), nullptr).picture.size(),
              QSize(128, 128));
    writecmyk(file("cmyk.jpg"), 16, 16);
    EXPECT_TRUE(decodereduced(readbytes(file("cmyk.jpg")), nullptr).picture.isNull());
    EXPECT_TRUE(decodereduced("not a photo", nullptr).picture.isNull());
}

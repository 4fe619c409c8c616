#include "preview/loadpicture.h"
#include "support/othercolours.h"
#include "support/testphotos.h"
#include "support/testpictures.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// An ICC profile split into APP2 chunks of at most 65519 bytes, as ICC.1 embeds one in a JPEG.
QByteArray profile(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(i * 7 % 251);
    return bytes;
}

void insertprofile(const QString& path, const QByteArray& bytes, bool dropfirstchunk = false) {
    constexpr qsizetype chunksize = 65519;
    const int chunks = int((bytes.size() + chunksize - 1) / chunksize);
    // Each insertion goes right after SOI: insert the last chunk first.
    for (int n = chunks; n >= 1; --n) {
        if (dropfirstchunk && n == 1)
            continue;
        QByteArray body("ICC_PROFILE\0", 12);
        body.append(char(n)).append(char(chunks)).append(bytes.mid((n - 1) * chunksize, chunksize));
        insertsegment(path, 0xE2, body);
    }
}

class LoadPicture : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
};

} // namespace

TEST_F(LoadPicture, DecodesEveryPixelAsStored) {
    const QString path = file(QStringLiteral("odd.jpg"));
    writepattern(path, 61, 45, Sampling::S420);
    writetags(path, {QStringLiteral("-n"), QStringLiteral("-Orientation=6")});
    const auto picture = loadpicture(path);
    ASSERT_TRUE(picture) << qPrintable(picture.reason());
    EXPECT_EQ(picture->image.format(), QImage::Format_RGBX8888);
    // The orientation is not applied: the pixels are those the file stores.
    EXPECT_EQ(maxdifference(pixelsof(picture->image), decodejpeg(path)), 0);
}

TEST_F(LoadPicture, TakesOnlyItsExtensions) {
    const struct {
        const char* name;
        bool decodes;
    } cases[] = {{"a.jpg", true}, {"b.JPG", true},   {"c.jpeg", true},  {"d.JfIf", true}, {"e.jpe", true},
                 {"f.JPE", true}, {"g.heic", false}, {"h.HEIC", false}, {"i.png", false}, {"jpg", false}};
    for (const auto& c : cases) {
        const QString path = file(QString::fromLatin1(c.name));
        writepattern(path, 40, 30);
        const auto picture = loadpicture(path);
        EXPECT_EQ(picture.ok(), c.decodes) << c.name;
        if (picture) {
            EXPECT_EQ(picture->image.size(), QSize(40, 30)) << c.name;
        } else {
            EXPECT_FALSE(picture.reason().isEmpty()) << c.name;
        }
    }
}

TEST_F(LoadPicture, GivesTheColourProfile) {
    const struct {
        const char* what;
        qsizetype size; // 0: none
        bool damaged;
    } cases[] = {{"none", 0, false},
                 {"one chunk", 3000, false},
                 {"two chunks", 100000, false},
                 {"first chunk lost", 100000, true}};
    for (const auto& c : cases) {
        const QString path = file(QStringLiteral("profiled.jpg"));
        writepattern(path, 32, 24);
        if (c.size > 0)
            insertprofile(path, profile(c.size), c.damaged);
        const auto picture = loadpicture(path);
        // A damaged profile is no profile; the photo itself is sound.
        ASSERT_TRUE(picture) << c.what << ": " << qPrintable(picture.reason());
        const QByteArray expected = c.size > 0 && !c.damaged ? profile(c.size) : QByteArray();
        EXPECT_EQ(picture->colorprofile, expected) << c.what;
        for (const MarkerSegment& segment : picture->segments)
            EXPECT_FALSE(segment.body.startsWith(QByteArray("ICC_PROFILE\0", 12))) << c.what;
    }
}

TEST_F(LoadPicture, GivesTheResolution) {
    const struct {
        const char* what;
        QStringList tags; // written with exiftool; none: the encoder's JFIF header, aspect only
        qint64 jpgdpi;
    } cases[] = {
        {"no density", {}, 72},
        {"JFIF inches",
         {QStringLiteral("-JFIF:ResolutionUnit=inches"), QStringLiteral("-JFIF:XResolution=300"),
          QStringLiteral("-JFIF:YResolution=300")},
         300},
        {"JFIF vertical",
         {QStringLiteral("-JFIF:ResolutionUnit=inches"), QStringLiteral("-JFIF:XResolution=300"),
          QStringLiteral("-JFIF:YResolution=240")},
         240},
        {"JFIF centimetres",
         {QStringLiteral("-JFIF:ResolutionUnit=cm"), QStringLiteral("-JFIF:XResolution=118"),
          QStringLiteral("-JFIF:YResolution=118")},
         300},
        {"EXIF before JFIF",
         {QStringLiteral("-JFIF:ResolutionUnit=inches"), QStringLiteral("-JFIF:XResolution=300"),
          QStringLiteral("-JFIF:YResolution=300"), QStringLiteral("-EXIF:ResolutionUnit=inches"),
          QStringLiteral("-EXIF:XResolution=350"), QStringLiteral("-EXIF:YResolution=350")},
         350},
        {"EXIF fraction cut",
         {QStringLiteral("-EXIF:ResolutionUnit=inches"), QStringLiteral("-EXIF:XResolution=72.9"),
          QStringLiteral("-EXIF:YResolution=72.9")},
         72},
        {"EXIF centimetres",
         {QStringLiteral("-EXIF:ResolutionUnit=cm"), QStringLiteral("-EXIF:XResolution=100"),
          QStringLiteral("-EXIF:YResolution=100")},
         254},
        {"EXIF only",
         {QStringLiteral("-JFIF:all="), QStringLiteral("-EXIF:ResolutionUnit=inches"),
          QStringLiteral("-EXIF:XResolution=240"), QStringLiteral("-EXIF:YResolution=240")},
         240},
    };
    for (const auto& c : cases) {
        const QString path = file(QStringLiteral("dense.jpg"));
        writepattern(path, 32, 24);
        if (!c.tags.isEmpty())
            writetags(path, c.tags);
        const auto picture = loadpicture(path);
        ASSERT_TRUE(picture) << c.what << ": " << qPrintable(picture.reason());
        EXPECT_EQ(picture->jpgdpi, c.jpgdpi) << c.what;
    }
}

TEST_F(LoadPicture, KeepsTheMetadataSegmentsInOrder) {
    const QString path = file(QStringLiteral("tagged.jpg"));
    writepattern(path, 32, 24);
    writetags(path, {QStringLiteral("-Make=Pivotel Test"), QStringLiteral("-XMP-dc:Title=Harbour"),
                     QStringLiteral("-Comment=kept")});
    const auto picture = loadpicture(path);
    ASSERT_TRUE(picture) << qPrintable(picture.reason());
    QList<QByteArray> expected;
    for (const QByteArray& segment : appsegments(path))
        expected << segment.mid(4);
    QList<QByteArray> got;
    for (const MarkerSegment& segment : picture->segments)
        got << segment.body;
    EXPECT_EQ(got, expected);
    ASSERT_GE(picture->segments.size(), 3u);
}

TEST_F(LoadPicture, GreyStaysGrey) {
    const QString path = file(QStringLiteral("grey.jpg"));
    writegrey(path, pattern(40, 30));
    const auto picture = loadpicture(path);
    ASSERT_TRUE(picture) << qPrintable(picture.reason());
    EXPECT_EQ(picture->image.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(maxdifference(pixelsof(picture->image), decodejpeg(path)), 0);
}

TEST_F(LoadPicture, RefusesWhatItCannotDecodeFaithfully) {
    const QString truncated = file(QStringLiteral("truncated.jpg"));
    writebytes(truncated, [&] {
        writepattern(truncated, 128, 128);
        return readbytes(truncated).left(900);
    }());
    const QString text = file(QStringLiteral("notes.jpg"));
    writebytes(text, "not a photo");
    const QString empty = file(QStringLiteral("empty.jpg"));
    writebytes(empty, QByteArray());
    const QString cmyk = file(QStringLiteral("cmyk.jpg"));
    writecmyk(cmyk, 16, 16);

    const struct {
        QString path;
        const char* says;
    } cases[] = {
        {truncated, "can't be decoded"},
        {text, "can't be decoded"},
        {empty, "can't be decoded"},
        {cmyk, "CMYK"},
        {file(QStringLiteral("missing.jpg")), "can't be read"},
    };
    for (const auto& c : cases) {
        const auto picture = loadpicture(c.path);
        ASSERT_FALSE(picture) << qPrintable(c.path);
        EXPECT_TRUE(picture.reason().contains(QLatin1String(c.says))) << qPrintable(picture.reason());
    }
}

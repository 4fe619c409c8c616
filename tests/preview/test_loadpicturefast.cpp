#include "preview/loadpicturefast.h"
#include "support/othercolours.h"
#include "support/testphotos.h"
#include "support/testpictures.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// The decoder's fast inverse DCT is off by a few steps from the accurate one; a picture turned
// or shifted is off by a hundred and more.
constexpr int fastdcttolerance = 8;

// The start of an ISO base media file with a HEIF brand, and no decodable image in it.
QByteArray heifdata() {
    QByteArray bytes("\0\0\0\x18"
                     "ftypheic\0\0\0\0mif1heic",
                     24);
    bytes.append(QByteArray(200, '\x11'));
    return bytes;
}

class LoadPictureFast : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
};

} // namespace

TEST_F(LoadPictureFast, TakesItsExtensionsAndHeicByContent) {
    enum Content { Jpeg, Heif, Text };
    const struct {
        const char* name;
        Content content;
        bool decodes;
    } cases[] = {
        {"a.jpg", Jpeg, true},   {"b.JPG", Jpeg, true},   {"c.jpeg", Jpeg, true}, {"d.JFIF", Jpeg, true},
        {"e.jpe", Jpeg, false},  {"f.JPE", Jpeg, false},  {"g.heic", Jpeg, true}, {"h.HEIC", Jpeg, true},
        {"i.HEIC", Heif, false}, {"j.heic", Text, false}, {"k.png", Jpeg, false}, {"l.jpg", Text, false},
    };
    for (const auto& c : cases) {
        const QString path = file(QString::fromLatin1(c.name));
        const Pixels source = pattern(40, 30);
        if (c.content == Jpeg)
            writejpeg(path, source);
        else
            writebytes(path, c.content == Heif ? heifdata() : QByteArray("not a photo"));
        const QImage picture = loadpicturefast(path);
        EXPECT_EQ(!picture.isNull(), c.decodes) << c.name;
        if (!picture.isNull()) {
            EXPECT_LE(maxdifference(pixelsof(picture), decodejpeg(path)), fastdcttolerance) << c.name;
        }
    }
}

TEST_F(LoadPictureFast, GivesNothingRatherThanFalseColours) {
    const QString cmyk = file(QStringLiteral("cmyk.jpg"));
    writecmyk(cmyk, 16, 16);
    EXPECT_TRUE(loadpicturefast(cmyk).isNull());
    EXPECT_TRUE(loadpicturefast(file(QStringLiteral("missing.jpg"))).isNull());
    const QString empty = file(QStringLiteral("empty.jpg"));
    writebytes(empty, QByteArray());
    EXPECT_TRUE(loadpicturefast(empty).isNull());
}

TEST_F(LoadPictureFast, GreyComesOutAsRgb) {
    const QString path = file(QStringLiteral("grey.jpg"));
    writegrey(path, pattern(40, 30));
    const QImage picture = loadpicturefast(path);
    ASSERT_FALSE(picture.isNull());
    EXPECT_EQ(picture.format(), QImage::Format_RGB888);
    EXPECT_LE(maxdifference(pixelsof(picture), decodejpeg(path)), fastdcttolerance);
}

TEST_F(LoadPictureFast, ShowsWhatCanBeDecodedOfADamagedPhoto) {
    const QString path = file(QStringLiteral("truncated.jpg"));
    writepattern(path, 128, 128);
    const QByteArray whole = readbytes(path);
    writebytes(path, whole.left(whole.size() / 2));
    const QImage picture = loadpicturefast(path);
    ASSERT_FALSE(picture.isNull());
    EXPECT_EQ(picture.size(), QSize(128, 128));
}

#include "preview/loadpicturefast.h"
#include "preview/previewfit.h"
#include "preview/previewpicture.h"
#include "support/testphotos.h"
#include "support/testpictures.h"

#include <QTemporaryDir>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// The mean difference of all channels of two pictures of one size.
double meandifference(const Pixels& a, const Pixels& b) {
    if (a.width != b.width || a.height != b.height)
        return 255;
    double sum = 0;
    for (size_t i = 0; i < a.rgb.size(); ++i)
        sum += std::abs(int(a.rgb[i]) - int(b.rgb[i]));
    return a.rgb.empty() ? 0 : sum / double(a.rgb.size());
}

// The whole photo decoded accurately and scaled smoothly to `size`: what the preview must look
// like, however it gets there.
Pixels wholescaled(const QString& path, QSize size) {
    return pixelsof(
        pictureof(decodejpeg(path)).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

// Decoders and scalers differ by a step or so on average; a picture turned or mirrored differs
// by tens.
constexpr double scalingtolerance = 2.0;

class PreviewPicture : public ::testing::Test {
  protected:
    QString file(const char* name) const { return dir.filePath(QLatin1String(name)); }
    QTemporaryDir dir;
};

} // namespace

TEST_F(PreviewPicture, ShowsThePhotoFittedToTheViewer) {
    const QSize viewer(347, 351);
    const struct {
        QSize photo;
        QSize shown;
    } cases[] = {
        {{1600, 1200}, {347, 260}}, {{1200, 1600}, {263, 351}}, {{3000, 400}, {347, 46}},
        {{200, 100}, {200, 100}},   {{347, 351}, {347, 351}},   {{2, 900}, {1, 351}},
    };
    for (const auto& c : cases) {
        const QString path = file("photo.jpg");
        writepattern(path, c.photo.width(), c.photo.height());
        const QImage shown = previewpicture(path, viewer);
        ASSERT_EQ(shown.size(), c.shown) << testing::PrintToString(c.photo);
        EXPECT_LE(meandifference(pixelsof(shown), wholescaled(path, c.shown)), scalingtolerance)
            << testing::PrintToString(c.photo);
    }
}

TEST_F(PreviewPicture, ShowsThePixelsAsStoredWhateverTheOrientationTag) {
    const QString path = file("tagged.jpg");
    writepattern(path, 900, 600);
    // EXIF orientation 6, "turn clockwise to view"
    QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 30);
    insertsegment(path, 0xE1, exif);
    const QImage shown = previewpicture(path, {347, 351});
    ASSERT_EQ(shown.size(), QSize(347, 231));
    EXPECT_LE(meandifference(pixelsof(shown), wholescaled(path, shown.size())), scalingtolerance);
}

TEST_F(PreviewPicture, FineDetailIsAveragedNotPicked) {
    // Columns of one pixel, black and white: shrunk with care they make an even grey, while
    // picking pixels would give black and white stripes. The first photo is decoded reduced,
    // the second whole.
    for (const QSize size : {QSize(1600, 1200), QSize(600, 400)}) {
        Pixels stripes{size.width(), size.height(),
                       std::vector<unsigned char>(size_t(size.width()) * size.height() * 3)};
        for (int y = 0; y < stripes.height; ++y) {
            for (int x = 0; x < stripes.width; ++x)
                std::fill_n(&stripes.rgb[(size_t(y) * stripes.width + x) * 3], 3, x % 2 ? 255 : 0);
        }
        const QString path = file("stripes.jpg");
        writejpeg(path, stripes, 95);
        const Pixels shown = pixelsof(previewpicture(path, {347, 351}));
        ASSERT_EQ(shown.width, 347);
        const auto [darkest, lightest] = std::minmax_element(shown.rgb.begin(), shown.rgb.end());
        EXPECT_GE(*darkest, 127 - 50) << testing::PrintToString(size);
        EXPECT_LE(*lightest, 127 + 50) << testing::PrintToString(size);
    }
}

TEST_F(PreviewPicture, NothingToShow) {
    const QString good = file("good.jpg");
    writepattern(good, 64, 48);
    const QString jpe = file("photo.jpe");
    writepattern(jpe, 64, 48);
    const QString text = file("text.jpg");
    writebytes(text, "not a photo");
    EXPECT_TRUE(previewpicture(file("missing.jpg"), {347, 351}).isNull());
    EXPECT_TRUE(previewpicture(jpe, {347, 351}).isNull());
    EXPECT_TRUE(previewpicture(text, {347, 351}).isNull());
    EXPECT_TRUE(previewpicture(good, {0, 0}).isNull());
    EXPECT_FALSE(previewpicture(good, {347, 351}).isNull());
}

TEST_F(PreviewPicture, ABigPhotoIsDecodedAtTheSmallestReductionThatCoversTheShownSize) {
    const QString path = file("big.jpg");
    writepattern(path, 1601, 1203);
    const struct {
        QSize shown;
        QSize decoded;
    } cases[] = {
        {{201, 151}, {201, 151}},     // an eighth, rounded up
        {{100, 20}, {201, 151}},      //
        {{202, 151}, {401, 301}},     // a quarter
        {{401, 301}, {401, 301}},     //
        {{201, 302}, {801, 602}},     // a half
        {{801, 602}, {801, 602}},     //
        {{802, 10}, {1601, 1203}},    // the whole photo
        {{1601, 1203}, {1601, 1203}}, //
    };
    for (const auto& c : cases) {
        QSize asked;
        const ReducedPicture loaded = loadpicturefast(path, [&](QSize photo) {
            asked = photo;
            return c.shown;
        });
        EXPECT_EQ(asked, QSize(1601, 1203));
        EXPECT_EQ(loaded.photosize, QSize(1601, 1203));
        ASSERT_EQ(loaded.picture.size(), c.decoded) << testing::PrintToString(c.shown);
        EXPECT_LE(meandifference(pixelsof(loaded.picture), wholescaled(path, c.decoded)), scalingtolerance)
            << testing::PrintToString(c.shown);
    }
}

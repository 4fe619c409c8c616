#include "jpeg/photofixture.h"
#include "preview/loadpicturefast.h"
#include "preview/previewfit.h"
#include "preview/previewpicture.h"

#include <algorithm>

using namespace pivotel;
using namespace pivotel::test;

using PreviewPicture = PhotoFolder;

TEST(PreviewFit, ShrinksToTheViewerAndNeverEnlarges) {
    // 4000/6000 in single precision, times 347, is 231.33; a tall photo is bounded first by the width
    // (347 by 520), then by the height. 0.7 in single precision is a little less than 0.7: ten times
    // it truncates to 6. A line of one pixel keeps one pixel across. Nothing is shown in an empty
    // viewer, nor of an empty picture.
    const struct {
        QSize picture, bounds, fitted;
    } cases[] = {{{6000, 4000}, {347, 351}, {347, 231}}, {{4000, 6000}, {347, 351}, {234, 351}},
                 {{200, 100}, {347, 351}, {200, 100}},   {{347, 351}, {347, 351}, {347, 351}},
                 {{400, 100}, {347, 351}, {347, 86}},    {{100, 400}, {347, 351}, {87, 351}},
                 {{348, 352}, {347, 351}, {347, 350}},   {{352, 400}, {347, 351}, {308, 351}},
                 {{1000, 700}, {10, 100}, {10, 6}},      {{1, 5000}, {347, 351}, {1, 351}},
                 {{5000, 1}, {347, 351}, {347, 1}},      {{1, 1}, {1, 1}, {1, 1}},
                 {{6000, 4000}, {0, 351}, {0, 0}},       {{6000, 4000}, {347, 0}, {0, 0}},
                 {{6000, 4000}, {-5, -5}, {0, 0}},       {{0, 0}, {347, 351}, {0, 0}},
                 {{0, 4000}, {347, 351}, {0, 0}}};
    for (const auto& c : cases)
        EXPECT_EQ(previewfit(c.picture, c.bounds), c.fitted)
            << testing::PrintToString(c.picture) << " in " << testing::PrintToString(c.bounds);
    // Here the rounding of the two ratios makes the width and the height steps undo each other.
    EXPECT_EQ(previewfit({1874033994, 685994433}, {502087620, 183790326}), QSize(502087620, 183790326));
}

TEST_F(PreviewPicture, ShowsThePhotoAsItLiesOnDiskFittedToTheViewer) {
    // six.jpg's EXIF orientation 6, "turn clockwise to view", is not applied. HEIC names go by
    // content: JPEG data to the JPEG decoder, other data (here PNG) to Qt's plugins. The dialogs
    // take .jpe, the preview doesn't.
    const QByteArray six("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 30);
    const QSize viewer(347, 351), none(0, 0);
    const struct {
        const char* name;
        QSize photo, shown;
    } cases[] = {{"a.jpg", {1600, 1200}, {347, 260}},
                 {"b.JPEG", {1200, 1600}, {263, 351}},
                 {"c.jfif", {3000, 400}, {347, 46}},
                 {"d.JPG", {200, 100}, {200, 100}},
                 {"e.jpg", {2, 900}, {1, 351}},
                 {"six.jpg", {900, 600}, {347, 231}},
                 {"f.HEIC", {64, 48}, {64, 48}},
                 {"g.heic", {64, 48}, {64, 48}},
                 {"h.jpe", {64, 48}, none},
                 {"i.png", {64, 48}, none},
                 {"text.jpg", none, none},
                 {"missing.jpg", none, none}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string_view name(c.name);
        if (!c.photo.isEmpty())
            writepattern(file(c.name), c.photo.width(), c.photo.height());
        if (name == "six.jpg")
            insertsegment(file(c.name), 0xE1, six);
        if (name == "g.heic")
            pictureof(pattern(64, 48)).save(file(c.name), "PNG");
        if (name == "text.jpg")
            writebytes(file(c.name), "not a photo");
        const QImage shown = previewpicture(file(c.name), viewer);
        ASSERT_EQ(shown.size(), c.shown);
        EXPECT_EQ(loadpicturefast(file(c.name)).size(), c.shown.isEmpty() ? none : c.photo);
        EXPECT_LE(shown.isNull() ? 0 : meandifference(pixelsof(shown), wholescaled(file(c.name), c.shown)),
                  meantolerance);
    }
    EXPECT_TRUE(previewpicture(file("a.jpg"), {0, 0}).isNull());
}

TEST_F(PreviewPicture, FineDetailIsAveragedNotPicked) {
    // Columns of one pixel, black and white, shrunk with care make an even grey; picking pixels
    // would give stripes. The first photo is decoded reduced, the second whole.
    for (const QSize size : {QSize(1600, 1200), QSize(600, 400)}) {
        Pixels stripes = pattern(size.width(), size.height());
        for (size_t i = 0; i < stripes.rgb.size(); ++i)
            stripes.rgb[i] = (i / 3) % 2 ? 255 : 0;
        writejpeg(file("stripes.jpg"), stripes, 95);
        const Pixels shown = pixelsof(previewpicture(file("stripes.jpg"), {347, 351}));
        ASSERT_EQ(shown.width, 347);
        EXPECT_TRUE(std::all_of(shown.rgb.begin(), shown.rgb.end(), [](int v) {
            return std::abs(v - 127) <= 50;
        })) << testing::PrintToString(size);
    }
}

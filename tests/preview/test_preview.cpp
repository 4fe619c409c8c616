#include "jpeg/photofixture.h"
#include "preview/loadpicturefast.h"
#include "preview/previewfit.h"
#include "preview/previewpicture.h"
#include "preview/thumbnail.h"
#include "preview/thumbnailloader.h"

#include <QSignalSpy>
#include <QTest>
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

TEST_F(PreviewPicture, AThumbnailIs160OnItsLongerSideAndNothingForWhatIsNoJpegPhoto) {
    const struct {
        QSize picture, thumbnail;
    } sizes[] = {{{6000, 4000}, {160, 106}}, {{4000, 6000}, {106, 160}}, {{500, 500}, {160, 160}},
                 {{40, 20}, {160, 80}},      {{2000, 3}, {160, 1}},      {{0, 10}, {}}};
    for (const auto& c : sizes)
        EXPECT_EQ(thumbnailsize(c.picture), c.thumbnail) << testing::PrintToString(c.picture);
    writepattern(file("p.jpg"), 640, 480);
    QFile::copy(file("p.jpg"), file("p.jpe"));
    writebytes(file("t.jpg"), "not a photo");
    // 4/3 in single precision is a little more than 4/3: 160 over it truncates to 119.
    EXPECT_EQ(loadpicturefastfast(file("p.jpg")).size(), QSize(160, 119));
    for (const char* name : {"p.jpe", "t.jpg", "gone.jpg"})
        EXPECT_TRUE(loadpicturefastfast(file(name)).isNull()) << name;
}

TEST_F(PreviewPicture, ThumbnailsStayWithinTheirCacheAndAChangedPhotoIsMadeAgain) {
    // Room for about two thumbnails of 160x120 in three quarters of the cache: the rest waits.
    constexpr qint64 budget = 160 * 120 * 3 * 3;
    ThumbnailLoader loader(budget);
    QStringList paths;
    for (int i = 0; i < 6; ++i) {
        paths << file(qPrintable(QStringLiteral("p%1.jpg").arg(i)));
        writepattern(paths.last(), 64, 48);
    }
    const auto settled = [&] {
        return QTest::qWaitFor([&] { return !loader.busy(); });
    };
    loader.prefetch(paths);
    ASSERT_TRUE(settled());
    EXPECT_LE(loader.cachebytes(), budget);
    EXPECT_TRUE(loader.lookup(paths[5]).wanted);
    const QString& made =
        *std::find_if(paths.begin(), paths.end(), [&](const QString& p) { return !loader.lookup(p).wanted; });
    EXPECT_EQ(loader.lookup(made).picture.size(), QSize(160, 119));
    // A photo rewritten keeps its old thumbnail until the new one is made.
    writepattern(made, 48, 64);
    const ThumbnailLoader::Lookup stale = loader.lookup(made);
    EXPECT_TRUE(stale.wanted);
    EXPECT_EQ(stale.picture.size(), QSize(160, 119));
    loader.want({made});
    ASSERT_TRUE(settled());
    EXPECT_EQ(loader.lookup(made).picture.size(), QSize(119, 160));
    EXPECT_FALSE(loader.lookup(made).wanted);
}

// The view asks for the photos in view on every paint, also while their thumbnails are being made.
TEST_F(PreviewPicture, APhotoAskedForAgainWhileItsThumbnailIsMadeIsDecodedOnce) {
    ThumbnailLoader loader;
    QStringList paths;
    for (int i = 0; i < 4; ++i) {
        paths << file(qPrintable(QStringLiteral("p%1.jpg").arg(i)));
        writepattern(paths.last(), 64, 48);
    }
    QMap<QString, int> made;
    QObject::connect(&loader, &ThumbnailLoader::ready, [&](const QString& path) { ++made[path]; });
    loader.want(paths);
    loader.want(paths);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !loader.busy(); }));
    for (const QString& path : paths)
        EXPECT_EQ(made.value(path), 1) << qPrintable(path);
}

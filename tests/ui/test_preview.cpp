#include "preview/previewfit.h"
#include "support/testphotos.h"
#include "support/testpictures.h"
#include "windowtest.h"

#include <QFile>
#include <QLabel>
#include <QSplitter>
#include <QTableView>
#include <QTest>
#include <cstdio>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Preview : public WindowTest {
  protected:
    // Photos in the test's folder, loaded onto the list in name order.
    void load(std::initializer_list<std::tuple<const char*, QSize, int>> photos) {
        for (const auto& [name, size, orientation] : photos)
            writephoto(path(name), size.width(), size.height(), orientation);
        loadfolder(dir.path(), false);
        ASSERT_EQ(window->photolist().count(), qint64(photos.size()));
    }
    QLabel* viewer() const { return child("imagepreview"); }
    QSize bounds() const { return viewer()->contentsRect().size(); }
    QImage shown() const { return viewer()->pixmap().toImage(); }
    // Whether the viewer shows the photo as it lies on disk, fitted to the viewer.
    bool showing(const char* name) const {
        const Pixels photo = decodejpeg(path(name));
        const QSize size = previewfit({photo.width, photo.height}, bounds());
        const Pixels want =
            pixelsof(pictureof(photo).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        const Pixels have = pixelsof(shown());
        if (have.width != want.width || have.height != want.height)
            return false;
        long long sum = 0;
        for (size_t i = 0; i < have.rgb.size(); ++i)
            sum += std::abs(int(have.rgb[i]) - int(want.rgb[i]));
        // Decoders and scalers differ by a step or so on average; another picture by tens.
        return double(sum) / double(have.rgb.size()) <= 2.0;
    }
    void resizeviewer(int grow) {
        const QSize before = bounds();
        window->resize(window->width() + grow, window->height() + grow);
        EXPECT_TRUE(QTest::qWaitFor([&] { return bounds() != before; }));
        settle();
    }
};

} // namespace

TEST_F(Preview, ASelectedRowShowsItsPhotoAsItLiesOnDiskFittedToTheViewer) {
    // Tagged to be turned: the preview still shows the pixels as stored.
    load({{"big.jpg", {1200, 800}, 6}, {"small.jpg", {200, 100}, 3}, {"tall.jpg", {800, 1200}, 0}});
    EXPECT_TRUE(viewer()->pixmap().isNull());
    pressrow(0);
    EXPECT_EQ(shown().width(), bounds().width());
    EXPECT_TRUE(showing("big.jpg"));
    pressrow(1);
    EXPECT_EQ(shown().size(), QSize(200, 100)); // never enlarged
    EXPECT_TRUE(showing("small.jpg"));
    // The keyboard moves the selection and the preview follows; a bigger viewer redraws it.
    QTest::keyClick(list(), Qt::Key_Down);
    settle();
    const int height = shown().height();
    EXPECT_EQ(height, bounds().height());
    resizeviewer(300);
    EXPECT_GT(shown().height(), height);
    EXPECT_TRUE(showing("tall.jpg"));
    EXPECT_TRUE(dialogs.told.isEmpty());
}

TEST_F(Preview, AMissingFileIsReportedOnlyAfterAPressAndThePictureStays) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}, {"c.jpg", {48, 64}, 0}});
    list()->selectRow(0); // selected without a press: a missing file would not be told yet
    settle();
    const QImage before = shown();
    ASSERT_FALSE(before.isNull());
    QFile::remove(path("b.jpg"));
    QFile::remove(path("c.jpg"));
    // The press is seen before the selection that it makes. While its message stands open a
    // resize asks for the same row again: no second message stands on the first.
    dialogs.whiletelling = [this] {
        resizeviewer(200);
    };
    pressrow(1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("b.jpg has been moved or deleted")});
    EXPECT_EQ(shown(), before);
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(dialogs.told.last(), QStringLiteral("c.jpg has been moved or deleted"));
}

TEST_F(Preview, WhatCantBeShownLeavesThePictureAsItWas) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    const QImage before = shown();
    writebytes(path("b.jpg"), "no longer a photo");
    pressrow(1);
    EXPECT_EQ(shown(), before);
    for (const qint64 row : {qint64(-1), qint64(2), qint64(1000000)}) {
        window->Dopreviewrow(row);
        settle();
        EXPECT_EQ(shown(), before) << row;
    }
    EXPECT_TRUE(dialogs.told.isEmpty());
    // Clear List empties the viewer for good: a refresh has no row to draw.
    press("clearlist");
    EXPECT_TRUE(viewer()->pixmap().isNull());
    resizeviewer(100);
    window->dorefreshpage();
    settle();
    EXPECT_TRUE(viewer()->pixmap().isNull());
}

TEST_F(Preview, DuringARunThePreviewShowsTheRowInWorkAsItIsOnDiskAndSaysNothingOfAMissingOne) {
    load({{"a.jpg", {90, 30}, 6}, {"b.jpg", {30, 90}, 0}, {"c.jpg", {30, 90}, 6}});
    pressrow(1);
    ASSERT_TRUE(showing("b.jpg"));
    HeldRun held;
    press("start");
    EXPECT_TRUE(QTest::qWaitFor([&] { return showing("a.jpg"); }, 60000));
    EXPECT_EQ(rowcounter(), QStringLiteral("Rotating a.jpg"));
    // The photo in work is replaced on disk: the next tick shows the new one.
    writephoto(path("a.new.jpg"), 48, 64, 0);
    ASSERT_EQ(std::rename(QFile::encodeName(path("a.new.jpg")).constData(),
                          QFile::encodeName(path("a.jpg")).constData()),
              0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown().size() == QSize(48, 64) && showing("a.jpg"); }, 60000));
    // The run's photo 1 is the list's c.jpg; the list's row 1, b.jpg, is gone: nothing is told.
    QFile::remove(path("b.jpg"));
    const Pixels a = decodejpeg(path("a.jpg"));
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90Clockwise)), idcttolerance);
    // After the run a keyboard move onto a missing file says nothing either.
    list()->selectRow(0);
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(list()->currentIndex().row(), 1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
}

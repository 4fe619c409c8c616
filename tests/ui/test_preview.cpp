#include "jpeg/photofixture.h"
#include "preview/previewfit.h"
#include "windowtest.h"

#include <QFile>
#include <cstdio>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Preview : public WindowTest {
  protected:
    QLabel* viewer() const { return child("imagepreview"); }
    QSize bounds() const { return viewer()->contentsRect().size(); }
    QImage shown() const { return viewer()->pixmap().toImage(); }
    // Whether the viewer shows the photo as it lies on disk, fitted to the viewer.
    bool showing(const char* name) const {
        const QSize size = previewfit(QImage(path(name)).size(), bounds());
        return meandifference(pixelsof(shown()), wholescaled(path(name), size)) <= meantolerance;
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
    load({{"big.jpg", 6, {1200, 800}}, {"small.jpg", 3, {200, 100}}, {"tall.jpg", 0, {800, 1200}}});
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

TEST_F(Preview, WhatCantBeShownLeavesThePictureAsItWasAndOnlyAPressedRowsMissingFileIsTold) {
    load({{"a.jpg", 0, {64, 48}}, {"b.jpg"}, {"c.jpg"}, {"d.jpg"}});
    list()->selectRow(0);
    settle();
    const QImage before = shown();
    ASSERT_FALSE(before.isNull());
    writebytes(path("b.jpg"), "no longer a photo");
    QFile::remove(path("c.jpg"));
    QFile::remove(path("d.jpg"));
    pressrow(1);
    EXPECT_TRUE(dialogs.told.isEmpty());
    // The press is seen before the selection that it makes. While its message stands open a
    // resize asks for the same row again: no second message stands on the first.
    dialogs.whiletelling = [this] {
        resizeviewer(200);
    };
    pressrow(2);
    EXPECT_EQ(dialogs.told, QStringList{"c.jpg has been moved or deleted"});
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(dialogs.told.last(), "d.jpg has been moved or deleted");
    for (const qint64 row : {qint64(-1), qint64(4), qint64(1000000)}) {
        window->Dopreviewrow(row);
        settle();
    }
    EXPECT_EQ(shown(), before);
    EXPECT_EQ(dialogs.told.size(), 2);
    // Clear List empties the viewer for good: a refresh has no row to draw.
    press("clearlist");
    EXPECT_TRUE(viewer()->pixmap().isNull());
    resizeviewer(100);
    window->dorefreshpage();
    settle();
    EXPECT_TRUE(viewer()->pixmap().isNull());
}

TEST_F(Preview, DuringARunOnlyLoadFilesActsAndThePreviewShowsThePhotoInWorkAsItIsOnDisk) {
    load({{"a.jpg", 6, {90, 30}}, {"b.jpg", 0, {30, 90}}, {"c.jpg", 6, {30, 90}}});
    const QString later = photo({"later/d.jpg", 6});
    const QByteArray d = readbytes(later);
    pressrow(1);
    ASSERT_TRUE(showing("b.jpg"));
    UniqueFd held = startheldrun();
    EXPECT_TRUE(QTest::qWaitFor([&] { return showing("a.jpg"); }, 60000));
    // The toolbar and Load Folders do nothing (a dialog would fail the script); the rows Load
    // Files adds wait for the next run: this one works on its frozen list.
    for (const char* command : {"start", "loadstart", "loadfiles", "loadfolders", "clearlist"})
        press(command);
    item("FileLoadFolders")->trigger();
    dialogs.files.push_back({later});
    item("FileLoadFiles")->trigger();
    settle();
    EXPECT_EQ(rows().join(' '), "a.jpg|Rotate 90º Clockwise b.jpg|As Is c.jpg|Rotate 90º Clockwise "
                                "d.jpg|Rotate 90º Clockwise");
    // The photo in work is replaced on disk: the next tick shows the new one.
    photo({"a.new.jpg", 0, {48, 64}});
    ASSERT_EQ(std::rename(QFile::encodeName(path("a.new.jpg")), QFile::encodeName(path("a.jpg"))), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown().size() == QSize(48, 64) && showing("a.jpg"); }, 60000));
    // The run's photo 1 is the list's c.jpg; the list's row 1, b.jpg, is gone: nothing is told.
    QFile::remove(path("b.jpg"));
    const Pixels a = decodejpeg(path("a.jpg"));
    held.reset();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{"All Done"});
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    EXPECT_EQ(decodejpeg(path("c.jpg")).width, 90);
    EXPECT_EQ(readbytes(later), d);
    // After the run a keyboard move onto a missing file says nothing either.
    list()->selectRow(0);
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(list()->currentIndex().row(), 1);
    EXPECT_EQ(dialogs.told, QStringList{"All Done"});
}

#include "preview/previewfit.h"
#include "support/testphotos.h"
#include "support/testpictures.h"
#include "windowtest.h"

#include <QFile>
#include <QLabel>
#include <QSplitter>
#include <QSplitterHandle>
#include <QTableView>
#include <QTest>
#include <cstdio>
#include <cstdlib>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Preview : public WindowTest {
  protected:
    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    // Photos in the test's folder, loaded onto the list in name order.
    void load(std::initializer_list<std::tuple<const char*, QSize, int>> photos) {
        for (const auto& [name, size, orientation] : photos)
            writephoto(path(name), size.width(), size.height(), orientation);
        loadfolder(dir.path(), false);
        ASSERT_EQ(window->photolist().count(), qint64(photos.size()));
    }
    QLabel* viewer() const { return label("imagepreview"); }
    QSize bounds() const { return viewer()->contentsRect().size(); }
    QImage shown() const { return viewer()->pixmap().toImage(); }
    QTableView* list() const { return window->findChild<QTableView*>(QStringLiteral("Listbox1")); }
    // Presses a row's name with the mouse, which also selects it.
    void pressrow(int row) {
        const QRect cell = list()->visualRect(list()->model()->index(row, 0));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, cell.center());
    }
    // The photo at `name`, decoded whole and fitted to the viewer: what the preview must show.
    Pixels expected(const char* name) const {
        const Pixels photo = decodejpeg(path(name));
        const QSize size = previewfit({photo.width, photo.height}, bounds());
        const QImage whole = pictureof(photo).convertToFormat(QImage::Format_RGB32);
        return pixelsof(whole.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    bool showing(const char* name) const {
        const Pixels want = expected(name);
        const Pixels have = pixelsof(shown());
        if (have.width != want.width || have.height != want.height)
            return false;
        long long sum = 0;
        for (size_t i = 0; i < have.rgb.size(); ++i)
            sum += std::abs(int(have.rgb[i]) - int(want.rgb[i]));
        // Decoders and scalers differ by a step or so on average; another picture by tens.
        return double(sum) / double(have.rgb.size()) <= 2.0;
    }
};

} // namespace

TEST_F(Preview, SelectingARowShowsItsPhotoAsItLiesOnDiskFittedToTheViewer) {
    // Tagged "turn clockwise" and "turn half round": the rows' labels say so, the preview
    // still shows the pixels as stored.
    load({{"big.jpg", {1200, 800}, 6}, {"small.jpg", {200, 100}, 3}});
    EXPECT_TRUE(viewer()->pixmap().isNull());

    pressrow(0);
    ASSERT_FALSE(shown().isNull());
    EXPECT_EQ(shown().size(), previewfit({1200, 800}, bounds()));
    EXPECT_EQ(shown().width(), bounds().width());
    EXPECT_TRUE(showing("big.jpg"));

    pressrow(1);
    EXPECT_EQ(shown().size(), QSize(200, 100)); // never enlarged
    EXPECT_TRUE(showing("small.jpg"));
    EXPECT_TRUE(dialogs.told.isEmpty());
}

TEST_F(Preview, APressedRowWhoseFileIsGoneIsReportedAndThePictureStays) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    // Selected without a press: a missing file would not be reported yet.
    list()->selectRow(0);
    const QImage before = shown();
    ASSERT_FALSE(before.isNull());
    QFile::remove(path("b.jpg"));
    // The press is seen before the selection that it makes.
    pressrow(1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("b.jpg has been moved or deleted")});
    EXPECT_EQ(shown(), before);
}

TEST_F(Preview, AKeyboardSelectionAfterAPressReportsAMissingFile) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    QFile::remove(path("b.jpg"));
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(list()->currentIndex().row(), 1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("b.jpg has been moved or deleted")});
}

TEST_F(Preview, AKeyboardSelectionAfterARunIsSilent) {
    load({{"a.jpg", {64, 48}, 6}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforendofrun());
    ASSERT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    const QImage before = shown();
    QFile::remove(path("b.jpg"));
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(list()->currentIndex().row(), 1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(shown(), before);
}

TEST_F(Preview, AnUndecodableFileKeepsThePictureBefore) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    const QImage before = shown();
    writebytes(path("b.jpg"), "no longer a photo");
    pressrow(1);
    EXPECT_EQ(shown(), before);
    EXPECT_TRUE(dialogs.told.isEmpty());
}

TEST_F(Preview, RowsThatDontExistShowNothing) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    const QImage before = shown();
    for (const qint64 row : {qint64(-1), qint64(-7), qint64(2), qint64(3), qint64(1000000)}) {
        window->Dopreviewrow(row);
        EXPECT_EQ(shown(), before) << row;
    }
    EXPECT_TRUE(dialogs.told.isEmpty());
}

TEST_F(Preview, ClearListEmptiesTheViewerForGood) {
    load({{"a.jpg", {64, 48}, 0}});
    pressrow(0);
    ASSERT_FALSE(shown().isNull());
    press(QStringLiteral("clearlist"));
    EXPECT_TRUE(viewer()->pixmap().isNull());
    // The row that was on show is gone with the list: a refresh has nothing to draw.
    window->resize(window->width() + 100, window->height() + 100);
    QTest::qWait(50);
    window->dorefreshpage();
    EXPECT_TRUE(viewer()->pixmap().isNull());
}

TEST_F(Preview, ResizingTheWindowRedrawsAtTheViewersNewSize) {
    load({{"tall.jpg", {800, 1200}, 0}});
    pressrow(0);
    const QSize before = shown().size();
    ASSERT_EQ(before, previewfit({800, 1200}, bounds()));
    ASSERT_EQ(before.height(), bounds().height());

    const QSize viewerbefore = bounds();
    window->resize(window->width(), window->height() + 300);
    ASSERT_TRUE(QTest::qWaitFor([&] { return bounds() != viewerbefore; }));
    EXPECT_EQ(shown().size(), previewfit({800, 1200}, bounds()));
    EXPECT_GT(shown().height(), before.height());
    EXPECT_TRUE(showing("tall.jpg"));
}

TEST_F(Preview, MovingTheSplitterRedrawsAtTheViewersNewSize) {
    window->resize(window->width() + 400, window->height());
    auto* splitter = window->findChild<QSplitter*>(QStringLiteral("WindowSplitter1"));
    ASSERT_NE(splitter, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return splitter->sizes().at(0) > 700; }));
    load({{"gone.jpg", {64, 48}, 0}, {"wide.jpg", {1200, 800}, 0}});

    // With nothing on show, a moved splitter draws nothing, not even for a selected row whose
    // file has gone.
    QFile::remove(path("gone.jpg"));
    pressrow(0);
    ASSERT_EQ(dialogs.told.size(), 1);
    QSplitterHandle* handle = splitter->handle(1);
    const QPoint grip = handle->rect().center();
    const int listwidth = splitter->sizes().at(0);
    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    QTest::mouseMove(handle, grip - QPoint(100, 0));
    QTest::mouseRelease(handle, Qt::LeftButton, {}, grip - QPoint(100, 0));
    ASSERT_TRUE(QTest::qWaitFor([&] { return splitter->sizes().at(0) < listwidth; }));
    EXPECT_TRUE(viewer()->pixmap().isNull());
    EXPECT_EQ(dialogs.told.size(), 1);

    pressrow(1);
    const QSize before = shown().size();
    ASSERT_EQ(before, previewfit({1200, 800}, bounds()));
    const QSize viewerbefore = bounds();
    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    QTest::mouseMove(handle, grip - QPoint(150, 0));
    QTest::mouseRelease(handle, Qt::LeftButton, {}, grip - QPoint(150, 0));
    ASSERT_TRUE(QTest::qWaitFor([&] { return bounds().width() > viewerbefore.width(); }));
    EXPECT_EQ(shown().size(), previewfit({1200, 800}, bounds()));
    EXPECT_GT(shown().width(), before.width());
    EXPECT_TRUE(showing("wide.jpg"));
}

TEST_F(Preview, NoMessageStandsOnAnother) {
    load({{"a.jpg", {64, 48}, 0}, {"b.jpg", {48, 64}, 0}});
    pressrow(0);
    QFile::remove(path("b.jpg"));
    // While the message stands open the window changes size, which redraws the preview of the
    // selected row, whose file is gone.
    dialogs.whiletelling = [this] {
        const QSize viewerbefore = bounds();
        window->resize(window->width(), window->height() + 200);
        EXPECT_TRUE(QTest::qWaitFor([&] { return bounds() != viewerbefore; }));
    };
    pressrow(1);
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("b.jpg has been moved or deleted")});
}

TEST_F(Preview, ARunWithAPreviewOnScreenEndsInAllDone) {
    load({{"a.jpg", {96, 64}, 6}, {"b.jpg", {64, 96}, 3}, {"c.jpg", {80, 80}, 8}});
    const Pixels a = decodejpeg(path("a.jpg"));
    const Pixels b = decodejpeg(path("b.jpg"));
    const Pixels c = decodejpeg(path("c.jpg"));
    pressrow(0);
    ASSERT_FALSE(shown().isNull());
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90)), 4);
    EXPECT_LE(maxdifference(decodejpeg(path("b.jpg")), turned(b, Action::Rotate180)), 4);
    EXPECT_LE(maxdifference(decodejpeg(path("c.jpg")), turned(c, Action::Rotate270)), 4);
    EXPECT_FALSE(shown().isNull());
}

TEST_F(Preview, DuringARunThePreviewShowsTheRowInWorkAsItIsOnDisk) {
    load({{"a.jpg", {90, 30}, 6}, {"b.jpg", {30, 90}, 6}});
    pressrow(1);
    ASSERT_TRUE(showing("b.jpg"));
    HeldRun held;
    press(QStringLiteral("start"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return showing("a.jpg"); }, 60000));
    EXPECT_EQ(rowcounter(), QStringLiteral("Rotating a.jpg"));

    // The photo in work is replaced on disk: the next tick shows the new one.
    writephoto(path("a.new.jpg"), 48, 64, 0);
    ASSERT_EQ(std::rename(QFile::encodeName(path("a.new.jpg")).constData(),
                          QFile::encodeName(path("a.jpg")).constData()),
              0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown().size() == QSize(48, 64) && showing("a.jpg"); }, 60000));

    const Pixels a = decodejpeg(path("a.jpg"));
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90)), 4);
}

TEST_F(Preview, TheRunsPreviewIsSilentAboutAMissingFile) {
    // The run takes b.jpg alone, as its photo 0; while that is in work the preview shows the
    // list's row 0, whose photo has gone.
    load({{"a.jpg", {48, 64}, 0}, {"b.jpg", {64, 48}, 6}});
    QFile::remove(path("a.jpg"));
    list()->selectRow(1);
    const QImage before = shown();
    ASSERT_FALSE(before.isNull());
    HeldRun held;
    press(QStringLiteral("start"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return rowcounter() == QStringLiteral("Rotating b.jpg"); }, 60000));
    QTest::qWait(300); // several ticks
    EXPECT_TRUE(dialogs.told.isEmpty());
    EXPECT_EQ(shown(), before);
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
}

#include "jpeg/photofixture.h"
#include "preview/previewfit.h"
#include "windowtest.h"

#include <QStandardPaths>
#include <cstdio>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Intake : public WindowTest {
  protected:
    // Starts Load Folders on 6,000 photos (hard links of one) and returns once rows arrive.
    void startbigscan() {
        const QByteArray model = QFile::encodeName(photo({"many/p0.jpg", 6, {16, 16}}));
        for (int i = 1; i < 6000; ++i)
            ::link(model, QFile::encodeName(path(QStringLiteral("many/p%1.jpg").arg(i))));
        dialogs.folders.push_back(path("many"));
        dialogs.answers.push_back(false);
        press("loadfolders");
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->photolist().count() > 0; }, 60000));
        ASSERT_FALSE(window->idle()) << "the scan ended before the test could act during it";
    }
};

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

class Run : public WindowTest {};

} // namespace

TEST_F(Intake, LoadFoldersTakesAFolderWithOrWithoutItsSubFoldersAndLoadFilesTheChosenPhotos) {
    for (const Photo& p : {Photo{"top/a.jpg", 6}, {"top/b/c.jpg", 8}, {"top/b/d/e.jpg", 3}, {"top/f.jpg"}})
        photo(p);
    writebytes(path("top/text.jpg"), "not a photo");
    loadfolder(path("top"), true);
    EXPECT_EQ(rows(), "a.jpg:cw c.jpg:ccw e.jpg:180 f.jpg:asis");
    EXPECT_EQ(window->photolist().row(1).path, path("top/b/c.jpg"));
    EXPECT_EQ(rowcounter(), "4 Photos");
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    EXPECT_EQ(dialogs.opened,
              QStringList{"Select the Folder of Images which you want to Include on the List ... |" +
                          QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)});
    ASSERT_EQ(dialogs.questions.size(), 1u);
    const Question& q = dialogs.questions[0];
    EXPECT_EQ(
        QStringList({q.title, q.message, q.explanation, q.yes, q.no}).join('|'),
        "Load All Sub Folders|Do You Want to Load All Images in All Sub Folders?|By selecting 'Yes', All "
        "Images from the Sub Folders would be included in the list.|Yes|No");

    // Without sub folders, added to the list; the dialog opens on the folder chosen last, also
    // after a cancelled dialog, which asks nothing more.
    loadfolder(path("top"), false);
    EXPECT_EQ(rowcounter(), "6 Photos");
    dialogs.folders = {QString(), QString()};
    press("loadfolders");
    press("loadfolders");
    EXPECT_EQ(dialogs.opened.last().section('|', 1), path("top"));
    EXPECT_EQ(dialogs.questions.size(), 2u);

    // Load Files takes the chosen JPEG photos in their order; the next dialog opens where the
    // last file with a JPEG name lay, though it was refused.
    const QString b = photo({"two/b.JPE", 3}), png = photo({"two/c.png"});
    writebytes(photo({"three/e.jpg"}), "not a photo");
    dialogs.files = {{b, png, path("top/a.jpg"), path("three/e.jpg")}, {}};
    press("loadfiles");
    settle();
    EXPECT_EQ(rows().section(' ', 6), "b.JPE:180 a.jpg:cw");
    EXPECT_EQ(rowcounter(), "8 Photos");
    EXPECT_EQ(dialogs.opened[4], "Add Photos to List|" + path("top") + "|jpg,jpeg,jfif,jpe");
    press("loadfiles");
    EXPECT_EQ(dialogs.opened.last().section('|', 1, 1), path("three"));
}

TEST_F(Intake, TheIntakeOptionsDecideTheRows) {
    load({{"a.jpg", 6}, {"b.jpg", 1}, {"c.jpg"}});
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:asis c.jpg:asis");
    // Each option alone, so that the two can't be swapped unnoticed.
    for (const auto& [useexif, expected] :
         {std::pair{true, "a.jpg:cw"}, {false, "a.jpg:asis b.jpg:asis c.jpg:asis"}}) {
        press("clearlist");
        checkbox("useexiforientation")->setChecked(useexif);
        checkbox("onlyloadwhenneeded")->setChecked(true);
        loadfolder(dir.path(), false);
        EXPECT_EQ(rows(), expected);
    }
}

TEST_F(Intake, AScanRunsBehindALiveWindowAndClearListOrClosingEndsIt) {
    startbigscan();
    // Rows arrive while the window handles its own events; its other commands wait.
    for (const char* command : {"loadfiles", "loadfolders", "start", "loadstart"})
        press(command);
    // Nor does a row's action pop up.
    list()->setCurrentIndex(list()->model()->index(0, 0));
    QTest::keyClick(list(), Qt::Key_Space);
    EXPECT_TRUE(dialogs.menus.isEmpty());
    EXPECT_EQ(dialogs.opened.size(), 1);
    EXPECT_TRUE(dialogs.told.isEmpty());
    press("clearlist");
    EXPECT_TRUE(window->idle());
    EXPECT_FALSE(window->state().isloading);
    // The scan's thread has ended: what it sent is all in the queue. No batch of it arrives late.
    QCoreApplication::processEvents();
    EXPECT_EQ(rowcounter(), "0 Photos");
    EXPECT_EQ(window->photolist().count(), 0);

    startbigscan();
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(window->idle());
    const qint64 rows = window->photolist().count();
    QCoreApplication::processEvents();
    EXPECT_EQ(window->photolist().count(), rows);
}

TEST_F(Run, LoadAndStartTurnsTheMarkedPhotosOnceTheScanHasEndedAndEndsWithAllDone) {
    const Pixels a = decodejpeg(photo({"a.jpg", 6})), c = decodejpeg(photo({"c.jpg", 3})),
                 d = decodejpeg(photo({"d.jpg", 8}));
    const QByteArray b = readbytes(photo({"b.jpg"}));
    dialogs.folders.push_back(dir.path());
    dialogs.answers.push_back(false);
    press("loadstart");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{"All Done"});
    EXPECT_EQ(rowcounter(), "All Done");
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    expectturned("c.jpg", c, Action::Rotate180);
    expectturned("d.jpg", d, Action::Rotate90Counterclockwise);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    EXPECT_EQ(rows(), "a.jpg:asis b.jpg:asis c.jpg:asis d.jpg:asis");
    EXPECT_TRUE(window->photolist().filelist().empty());
    // Every label is "As Is" now, so Start finds nothing to do.
    press("start");
    EXPECT_EQ(rowcounter(), "Nothing to Process");
    EXPECT_EQ(dialogs.told.back(), "There Is Nothing to Process");
}

TEST_F(Run, ClosingDuringARunFinishesThePhotosInWorkAndNoOther) {
    load({{"a.jpg", 6}, {"b.jpg", 3}, {"c.jpg", 6}});
    const Pixels a = decodejpeg(path("a.jpg")), b = decodejpeg(path("b.jpg"));
    const QByteArray c = readbytes(path("c.jpg"));
    auto held = startheldrun(2, "b.jpg");
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    held.clear();
    window.reset(); // the program's end: waits for the photos in work
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    expectturned("b.jpg", b, Action::Rotate180);
    EXPECT_EQ(readbytes(path("c.jpg")), c);
    EXPECT_EQ(QDir(datafolder()).entryList({"xtemp*.jpg"}), QStringList());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

TEST_F(Run, NothingToProcessStoresTheOptionsTriedOnlyForAListWithNothingMarked) {
    // An empty list, by Start or by a Load + Start whose dialog is cancelled, stores nothing.
    tick("uselosslessrotation");
    dialogs.folders.push_back(QString());
    press("start");
    press("loadstart");
    EXPECT_EQ(dialogs.told, QStringList({"There is Nothing to Process", "There is Nothing to Process"}));
    EXPECT_TRUE(loadsettings().uselosslessrotation);
    load({{"a.jpg", 0}, {"b.jpg", 1}});
    // The quality is held in range and stored at every try.
    for (const auto& [typed, corrected] :
         {std::pair{"9", "10"}, {"101", "100"}, {"abc", "70"}, {"55.9", "55"}}) {
        qualityfield()->setText(typed);
        press("start");
        EXPECT_EQ(qualityfield()->text(), corrected) << typed;
        EXPECT_EQ(slider()->value(), QString(corrected).toInt()) << typed;
        EXPECT_EQ(loadsettings().jpgquality, corrected) << typed;
    }
    EXPECT_EQ(rowcounter(), "Nothing to Process");
    EXPECT_EQ(dialogs.told.mid(2), QStringList(4, "There Is Nothing to Process"));
    EXPECT_FALSE(loadsettings().uselosslessrotation);
}

TEST_F(Run, TheFinalBoxNamesTheMissingThenTheDamagedInListOrder) {
    // The damaged photo (an unknown marker in its scan) comes first on the list and last in the box.
    photo({"0damaged.jpg", 6, {128, 128}});
    const QByteArray damaged = readbytes(path("0damaged.jpg")).replace(700, 2, "\xFF\x37");
    writebytes(path("0damaged.jpg"), damaged);
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 6}});
    QFile::remove(path("a.jpg"));
    QFile::remove(path("c.jpg"));
    press("start");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_TRUE(dialogs.told.back().startsWith(
        "The Following Files Could not be Processed as they may be missing or deleted\n\na.jpg\nc.jpg"
        "\n\nThe Following Photos Could not be Rotated and were Left Unchanged\n\n0damaged.jpg: "))
        << dialogs.told.back().toStdString();
    EXPECT_FALSE(dialogs.told.back().endsWith(": ")) << "a reason is given";
    EXPECT_EQ(rowcounter(), "All Done");
    EXPECT_EQ(readbytes(path("0damaged.jpg")), damaged);
    EXPECT_EQ(decodejpeg(path("b.jpg")).width, 32);
    EXPECT_EQ(rows(), "0damaged.jpg:asis a.jpg:asis b.jpg:asis c.jpg:asis");
}

TEST_F(Preview, ASelectedRowShowsItsPhotoAsItLiesOnDiskFittedToTheViewerOrLeavesThePictureAsItWas) {
    // Tagged to be turned: the preview still shows the pixels as stored.
    load({{"big.jpg", 6, {1200, 800}},
          {"small.jpg", 3, {200, 100}},
          {"tall.jpg", 0, {800, 1200}},
          {"w.jpg"},
          {"x.jpg"},
          {"y.jpg"}});
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

    // What can't be shown leaves the picture; only a pressed row's missing file is told.
    const QImage before = shown();
    writebytes(path("w.jpg"), "no longer a photo");
    QFile::remove(path("x.jpg"));
    QFile::remove(path("y.jpg"));
    pressrow(3);
    EXPECT_TRUE(dialogs.told.isEmpty());
    // The press is seen before the selection that it makes. While its message stands open a
    // resize asks for the same row again: no second message stands on the first.
    dialogs.during = [this] {
        resizeviewer(200);
    };
    pressrow(4);
    EXPECT_EQ(dialogs.told, QStringList{"x.jpg has been moved or deleted"});
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(dialogs.told.last(), "y.jpg has been moved or deleted");
    for (const qint64 row : {qint64(-1), qint64(6), qint64(1000000)}) {
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
    load({{"a.jpg", 6, {90, 30}}, {"b.jpg", 0, {30, 90}}, {"c.jpg", 6, {30, 96}}}); // c: whole blocks
    const QString later = photo({"later/d.jpg", 6});
    const QByteArray d = readbytes(later);
    pressrow(1);
    ASSERT_TRUE(showing("b.jpg"));
    auto held = startheldrun();
    EXPECT_TRUE(QTest::qWaitFor([&] { return showing("a.jpg"); }, 60000));
    // The toolbar and Load Folders do nothing (a dialog would fail the script); the rows Load
    // Files adds wait for the next run: this one works on its frozen list.
    for (const char* command : {"start", "loadstart", "loadfiles", "loadfolders", "clearlist"})
        press(command);
    item("FileLoadFolders")->trigger();
    dialogs.files.push_back({later});
    item("FileLoadFiles")->trigger();
    settle();
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:asis c.jpg:cw d.jpg:cw");
    // The photo in work is replaced on disk: the next tick shows the new one.
    photo({"a.new.jpg", 0, {48, 64}});
    ASSERT_EQ(std::rename(QFile::encodeName(path("a.new.jpg")), QFile::encodeName(path("a.jpg"))), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown().size() == QSize(48, 64) && showing("a.jpg"); }, 60000));
    // The run's photo 1 is the list's c.jpg; the list's row 1, b.jpg, is gone: nothing is told.
    QFile::remove(path("b.jpg"));
    const QByteArray a = readbytes(path("a.jpg"));
    held.clear();
    ASSERT_TRUE(waitforendofrun());
    // Replaced once its turn had begun, as another program saves: that save stays, and the box
    // says so.
    const QStringList told{"The Following Photos Could not be Rotated and were Left Unchanged\n\n"
                           "a.jpg: changed by another program during the turn; left as it is"};
    EXPECT_EQ(dialogs.told, told);
    EXPECT_EQ(readbytes(path("a.jpg")), a);
    EXPECT_EQ(decodejpeg(path("c.jpg")).width, 96);
    EXPECT_EQ(readbytes(later), d);
    // After the run a keyboard move onto a missing file says nothing either.
    list()->selectRow(0);
    QTest::keyClick(list(), Qt::Key_Down);
    EXPECT_EQ(list()->currentIndex().row(), 1);
    EXPECT_EQ(dialogs.told, told);
}

#include "windowtest.h"

#include <QDir>
#include <QStandardPaths>
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
            ::link(model.constData(),
                   QFile::encodeName(path(QStringLiteral("many/p%1.jpg").arg(i))).constData());
        dialogs.folders.push_back(path("many"));
        dialogs.answers.push_back(false);
        press("loadfolders");
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->photolist().count() > 0; }, 60000));
        ASSERT_FALSE(window->idle()) << "the scan ended before the test could act during it";
    }
};

const QString cw = labelof(Action::Rotate90Clockwise), asis = labelof(Action::AsIs);

} // namespace

TEST_F(Intake, LoadFoldersTakesThePhotosOfTheFolderChosenWithOrWithoutItsSubFolders) {
    // The order of the folder scan is the scan's own test; here, that its photos arrive.
    for (const Photo& p : {Photo{"top/a.jpg", 6}, {"top/b/c.jpg", 8}, {"top/b/d/e.jpg", 3}, {"top/f.jpg"}})
        photo(p);
    writebytes(path("top/text.jpg"), "not a photo");
    loadfolder(path("top"), true);
    EXPECT_EQ(rows(), QStringList({"a.jpg|" + cw, "c.jpg|" + labelof(Action::Rotate90Counterclockwise),
                                   "e.jpg|" + labelof(Action::Rotate180), "f.jpg|" + asis}));
    EXPECT_EQ(window->photolist().row(1).path, path("top/b/c.jpg"));
    EXPECT_EQ(rowcounter(), "4 Photos");
    EXPECT_FALSE(window->state().isloading);
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    EXPECT_EQ(dialogs.opened,
              QStringList{"Select the Folder of Images which you want to Include on the List ... |" +
                          QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)});
    ASSERT_EQ(dialogs.questions.size(), 1u);
    const Question& q = dialogs.questions[0];
    EXPECT_EQ(
        QStringList({q.title, q.message, q.explanation, q.yes, q.no}),
        QStringList({"Load All Sub Folders", "Do You Want to Load All Images in All Sub Folders?",
                     "By selecting 'Yes', All Images from the Sub Folders would be included in the list.",
                     "Yes", "No"}));

    // Without sub folders, added to the list; the dialog opens on the folder chosen last, also
    // after a cancelled dialog, which asks nothing more.
    loadfolder(path("top"), false);
    EXPECT_EQ(rowcounter(), "6 Photos");
    dialogs.folders = {QString(), QString()};
    press("loadfolders");
    press("loadfolders");
    EXPECT_EQ(dialogs.opened.last().section('|', 1), path("top"));
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(rows().size(), 6);
}

TEST_F(Intake, TheIntakeOptionsDecideTheRows) {
    for (const Photo& p : {Photo{"a.jpg", 6}, {"b.jpg", 1}, {"c.jpg"}})
        photo(p);
    const QStringList all{"a.jpg|" + asis, "b.jpg|" + asis, "c.jpg|" + asis};
    // Each option alone, so that the two can't be swapped unnoticed.
    const std::tuple<bool, bool, QStringList> cases[] = {
        {true, false, {"a.jpg|" + cw, all[1], all[2]}}, {true, true, {"a.jpg|" + cw}}, {false, true, all}};
    for (const auto& [useexif, onlyneeded, expected] : cases) {
        press("clearlist");
        checkbox("useexiforientation")->setChecked(useexif);
        checkbox("onlyloadwhenneeded")->setChecked(onlyneeded);
        loadfolder(dir.path(), false);
        EXPECT_EQ(rows(), expected) << useexif << onlyneeded;
    }
}

TEST_F(Intake, LoadFilesTakesTheChosenPhotosInOrder) {
    const QString a = photo({"one/a.jpg", 6}), b = photo({"two/b.JPE", 3}), png = photo({"two/c.png"});
    QDir().mkpath(path("three"));
    writebytes(path("three/e.jpg"), "not a photo");
    dialogs.files = {{b, png, a, path("three/e.jpg")}, {}};
    press("loadfiles");
    settle();
    EXPECT_EQ(rows(), QStringList({"b.JPE|" + labelof(Action::Rotate180), "a.jpg|" + cw}));
    EXPECT_EQ(rowcounter(), "2 Photos");
    EXPECT_EQ(dialogs.opened[0].section('|', 0, 0) + '|' + dialogs.opened[0].section('|', 2),
              "Add Photos to List|jpg,jpeg,jfif,jpe");
    // The next dialog opens where the last file with a JPEG name lay, though it was refused.
    press("loadfiles");
    EXPECT_EQ(dialogs.opened.last().section('|', 1, 1), path("three"));
}

TEST_F(Intake, AScanRunsBehindALiveWindowAndClearListOrClosingEndsIt) {
    startbigscan();
    // Rows arrive while the window handles its own events; its other commands wait.
    for (const char* command : {"loadfiles", "loadfolders", "start", "loadstart"})
        press(command);
    EXPECT_EQ(dialogs.opened.size(), 1);
    EXPECT_TRUE(dialogs.told.isEmpty());
    press("clearlist");
    EXPECT_TRUE(window->idle());
    EXPECT_FALSE(window->state().isloading);
    // The scan's thread has ended: what it sent is all in the queue. No batch of it arrives late.
    QCoreApplication::processEvents();
    EXPECT_EQ(window->photolist().count(), 0);
    EXPECT_EQ(rowcounter(), "0 Photos");

    startbigscan();
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(window->idle());
    const qint64 rows = window->photolist().count();
    QCoreApplication::processEvents();
    EXPECT_EQ(window->photolist().count(), rows);
}

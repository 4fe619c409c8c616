#include "support/testphotos.h"
#include "windowtest.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Intake : public WindowTest {
  protected:
    QString photo(const char* relative, int orientation = 0) {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        writephoto(path(relative), 16, 16, orientation);
        return path(relative);
    }
    // Starts Load Folders on 6,000 photos (hard links of one) and returns once rows arrive.
    void startbigscan() {
        const QByteArray model = QFile::encodeName(photo("many/p0.jpg", 6));
        for (int i = 1; i < 6000; ++i)
            ::link(model.constData(),
                   QFile::encodeName(path(QStringLiteral("many/p%1.jpg").arg(i))).constData());
        dialogs.folders.push_back(path("many"));
        dialogs.answers.push_back(false);
        press("loadfolders");
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->photolist().count() > 0; }, 60000));
        ASSERT_FALSE(window->idle()) << "the scan ended before the test could act during it";
    }
    QString row(const char* name, Action action) const { return QLatin1String(name) + '|' + labelof(action); }
};

} // namespace

TEST_F(Intake, LoadFoldersTakesPhotosDepthFirstInNameOrder) {
    photo("top/a.jpg", 6);
    photo("top/b/c.jpg", 8);
    photo("top/b/d/e.jpg", 3);
    photo("top/f10.jpg");
    photo("top/f9.JPEG");
    photo("top/Viewer.app/inside.jpg", 6);
    photo("top/Library.photoslibrary/inside.jpg", 6);
    writebytes(path("top/notes.txt"), "notes");
    writebytes(path("top/text.jpg"), "not a photo");
    // A link back into the folder being scanned: the scan ends all the same.
    QFile::link(path("top"), path("top/b/loop"));

    loadfolder(path("top"), true);
    EXPECT_EQ(rows(),
              QStringList({row("a.jpg", Action::Rotate90Clockwise),
                           row("c.jpg", Action::Rotate90Counterclockwise), row("e.jpg", Action::Rotate180),
                           row("f9.JPEG", Action::AsIs), row("f10.jpg", Action::AsIs)}));
    EXPECT_EQ(window->photolist().row(1).path, path("top/b/c.jpg"));
    EXPECT_EQ(rowcounter(), QStringLiteral("5 Photos"));
    EXPECT_FALSE(window->state().isloading);
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    EXPECT_EQ(dialogs.folderprompts[0],
              QStringLiteral("Select the Folder of Images which you want to Include on the List ... "));
    EXPECT_EQ(dialogs.startfolders[0], QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    ASSERT_EQ(dialogs.questions.size(), 1u);
    const Question& q = dialogs.questions[0];
    EXPECT_EQ(QStringList({q.title, q.message, q.explanation, q.yes, q.no}),
              QStringList({QStringLiteral("Load All Sub Folders"),
                           QStringLiteral("Do You Want to Load All Images in All Sub Folders?"),
                           QStringLiteral("By selecting 'Yes', All Images from the Sub Folders would be "
                                          "included in the list."),
                           QStringLiteral("Yes"), QStringLiteral("No")}));

    // Without sub folders, added to the list; the dialog opens on the folder chosen last, also
    // after a cancelled dialog, which asks nothing more.
    loadfolder(path("top"), false);
    EXPECT_EQ(rowcounter(), QStringLiteral("8 Photos"));
    dialogs.folders = {QString(), QString()};
    press("loadfolders");
    press("loadfolders");
    EXPECT_EQ(dialogs.startfolders.last(), path("top"));
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(rows().size(), 8);
}

TEST_F(Intake, TheIntakeOptionsDecideTheRows) {
    photo("a.jpg", 6);
    photo("b.jpg", 1);
    photo("c.jpg");
    const QStringList asis{row("a.jpg", Action::AsIs), row("b.jpg", Action::AsIs),
                           row("c.jpg", Action::AsIs)};
    const QString cw = row("a.jpg", Action::Rotate90Clockwise);
    const std::tuple<bool, bool, QStringList> cases[] = {
        {true, false, {cw, asis[1], asis[2]}}, {true, true, {cw}}, {false, false, asis}, {false, true, asis}};
    for (const auto& [useexif, onlyneeded, expected] : cases) {
        press("clearlist");
        checkbox("useexiforientation")->setChecked(useexif);
        checkbox("onlyloadwhenneeded")->setChecked(onlyneeded);
        loadfolder(dir.path(), false);
        EXPECT_EQ(rows(), expected) << useexif << onlyneeded;
    }
}

TEST_F(Intake, LoadFilesTakesTheChosenPhotosInOrder) {
    const QString a = photo("one/a.jpg", 6), b = photo("two/b.JPE", 3), png = photo("two/c.png");
    QDir().mkpath(path("three"));
    writebytes(path("three/e.jpg"), "not a photo");
    dialogs.files = {{b, png, a, path("three/e.jpg")}, {}};
    press("loadfiles");
    settle();
    EXPECT_EQ(rows(),
              QStringList({row("b.JPE", Action::Rotate180), row("a.jpg", Action::Rotate90Clockwise)}));
    EXPECT_EQ(rowcounter(), QStringLiteral("2 Photos"));
    EXPECT_EQ(dialogs.filetitles[0], QStringLiteral("Add Photos to List"));
    EXPECT_EQ(dialogs.filetypes[0], QStringList({QStringLiteral("jpg"), QStringLiteral("jpeg"),
                                                 QStringLiteral("jfif"), QStringLiteral("jpe")}));
    // The next dialog opens where the last file with a JPEG name lay, though it was refused.
    press("loadfiles");
    EXPECT_EQ(dialogs.startfolders.last(), path("three"));
}

TEST_F(Intake, AScanRunsBehindALiveWindowAndClearListCancelsIt) {
    startbigscan();
    // Rows arrive while the window handles its own events; its other commands wait.
    for (const char* command : {"loadfiles", "loadfolders", "start", "loadstart"})
        press(command);
    EXPECT_EQ(dialogs.startfolders.size(), 1);
    EXPECT_TRUE(dialogs.told.isEmpty());
    press("clearlist");
    EXPECT_TRUE(window->idle());
    EXPECT_FALSE(window->state().isloading);
    QTest::qWait(200);
    // No batch of the cancelled scan arrives late.
    EXPECT_EQ(window->photolist().count(), 0);
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
}

TEST_F(Intake, ClosingTheWindowEndsTheScan) {
    startbigscan();
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(window->idle());
    const qint64 rows = window->photolist().count();
    QTest::qWait(200);
    EXPECT_EQ(window->photolist().count(), rows);
}

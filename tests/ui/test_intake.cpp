#include "support/testphotos.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTest>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Intake : public WindowTest {
  protected:
    QString photo(const QString& relative, int orientation = 0) {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        writephoto(path(relative), 16, 16, orientation);
        return path(relative);
    }
    // A folder of `count` photos, hard links of one, so that a scan takes a while.
    QString manyphotos(int count) {
        const QString model = photo(QStringLiteral("many/p00000.jpg"), 6);
        for (int i = 1; i < count; ++i)
            EXPECT_EQ(::link(QFile::encodeName(model).constData(),
                             QFile::encodeName(path(QStringLiteral("many/p%1.jpg").arg(i, 5, 10, QLatin1Char('0'))))
                                 .constData()),
                      0);
        return path(QStringLiteral("many"));
    }
    // Starts Load Folders on `folder` and returns once its first rows have arrived.
    void startscan(const QString& folder) {
        dialogs.folders.push_back(folder);
        dialogs.answers.push_back(false);
        press(QStringLiteral("loadfolders"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->photolist().count() > 0; }, 60000));
        ASSERT_FALSE(window->idle()) << "the scan ended before the test could act during it";
    }
    const QString cw = labelof(Action::Rotate90Clockwise), asis = labelof(Action::AsIs);
};

} // namespace

TEST_F(Intake, LoadFoldersTakesPhotosDepthFirstInNameOrder) {
    photo(QStringLiteral("top/a.jpg"), 6);
    photo(QStringLiteral("top/b/c.jpg"), 8);
    photo(QStringLiteral("top/b/d/e.jpg"), 3);
    photo(QStringLiteral("top/f10.jpg"));
    photo(QStringLiteral("top/f9.JPEG"));
    photo(QStringLiteral("top/Viewer.app/inside.jpg"), 6);
    photo(QStringLiteral("top/Library.photoslibrary/inside.jpg"), 6);
    writebytes(path(QStringLiteral("top/notes.txt")), "notes");
    writebytes(path(QStringLiteral("top/text.jpg")), "not a photo");
    // A link back into the folder being scanned: the scan ends all the same.
    QFile::link(path(QStringLiteral("top")), path(QStringLiteral("top/b/loop")));
    const QString top = path(QStringLiteral("top"));

    loadfolder(top, true);
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("a.jpg|") + cw,
                                   QStringLiteral("c.jpg|") + labelof(Action::Rotate90Counterclockwise),
                                   QStringLiteral("e.jpg|") + labelof(Action::Rotate180),
                                   QStringLiteral("f9.JPEG|") + asis, QStringLiteral("f10.jpg|") + asis}));
    EXPECT_EQ(window->photolist().row(1).path, path(QStringLiteral("top/b/c.jpg")));
    EXPECT_EQ(rowcounter(), QStringLiteral("5 Photos"));
    EXPECT_FALSE(window->state().isloading);
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    EXPECT_EQ(dialogs.folderrequests[0].title,
              QStringLiteral("Select the Folder of Images which you want to Include on the List ... "));
    EXPECT_EQ(dialogs.folderrequests[0].folder, QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    ASSERT_EQ(dialogs.questions.size(), 1u);
    const Question& q = dialogs.questions[0];
    EXPECT_EQ(QStringList({q.title, q.message, q.explanation, q.yes, q.no}),
              QStringList({QStringLiteral("Load All Sub Folders"),
                           QStringLiteral("Do You Want to Load All Images in All Sub Folders?"),
                           QStringLiteral("By selecting 'Yes', All Images from the Sub Folders would be included "
                                          "in the list."),
                           QStringLiteral("Yes"), QStringLiteral("No")}));

    // Without sub folders, added to the list; the dialog opens on the folder chosen last, also
    // after a cancelled dialog, which asks nothing more.
    loadfolder(top, false);
    EXPECT_EQ(rowcounter(), QStringLiteral("8 Photos"));
    dialogs.folders = {QString(), QString()};
    press(QStringLiteral("loadfolders"));
    press(QStringLiteral("loadfolders"));
    EXPECT_EQ(dialogs.folderrequests.back().folder, top);
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(rows().size(), 8);
}

TEST_F(Intake, TheIntakeOptionsDecideTheRows) {
    photo(QStringLiteral("a.jpg"), 6);
    photo(QStringLiteral("b.jpg"), 1);
    photo(QStringLiteral("c.jpg"));
    const QStringList allasis{QStringLiteral("a.jpg|") + asis, QStringLiteral("b.jpg|") + asis,
                              QStringLiteral("c.jpg|") + asis};
    const std::tuple<bool, bool, QStringList> cases[] = {
        {true, false, {QStringLiteral("a.jpg|") + cw, QStringLiteral("b.jpg|") + asis, QStringLiteral("c.jpg|") + asis}},
        {true, true, {QStringLiteral("a.jpg|") + cw}},
        {false, false, allasis},
        {false, true, allasis},
    };
    for (const auto& [useexif, onlyneeded, expected] : cases) {
        press(QStringLiteral("clearlist"));
        checkbox("useexiforientation")->setChecked(useexif);
        checkbox("onlyloadwhenneeded")->setChecked(onlyneeded);
        loadfolder(dir.path(), false);
        EXPECT_EQ(rows(), expected) << useexif << onlyneeded;
    }
}

TEST_F(Intake, LoadFilesTakesTheChosenPhotosInOrder) {
    const QString a = photo(QStringLiteral("one/a.jpg"), 6);
    const QString b = photo(QStringLiteral("two/b.JPE"), 3);
    const QString png = photo(QStringLiteral("two/c.png"));
    QDir().mkpath(path(QStringLiteral("three")));
    const QString text = path(QStringLiteral("three/e.jpg"));
    writebytes(text, "not a photo");

    dialogs.files = {{b, png, a, text}, {}};
    press(QStringLiteral("loadfiles"));
    settle();
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("b.JPE|") + labelof(Action::Rotate180), QStringLiteral("a.jpg|") + cw}));
    EXPECT_EQ(rowcounter(), QStringLiteral("2 Photos"));
    EXPECT_EQ(dialogs.filerequests[0].title, QStringLiteral("Add Photos to List"));
    EXPECT_EQ(dialogs.filerequests[0].folder, QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    EXPECT_EQ(dialogs.filerequests[0].types, QStringList({QStringLiteral("jpg"), QStringLiteral("jpeg"),
                                                          QStringLiteral("jfif"), QStringLiteral("jpe")}));
    // The next dialog opens where the last file with a JPEG name lay, though it was refused.
    press(QStringLiteral("loadfiles"));
    EXPECT_EQ(dialogs.filerequests[1].folder, path(QStringLiteral("three")));
}

TEST_F(Intake, AScanRunsBehindALiveWindowAndClearListCancelsIt) {
    startscan(manyphotos(6000));
    // Rows arrive while the window handles its own events; its other commands wait.
    for (const char* command : {"loadfiles", "loadfolders", "start", "loadstart"})
        press(QLatin1String(command));
    EXPECT_TRUE(dialogs.filerequests.empty());
    EXPECT_EQ(dialogs.folderrequests.size(), 1u);
    EXPECT_TRUE(dialogs.told.isEmpty());

    press(QStringLiteral("clearlist"));
    EXPECT_TRUE(window->idle());
    EXPECT_FALSE(window->state().isloading);
    QTest::qWait(200);
    // No batch of the cancelled scan arrives late.
    EXPECT_EQ(window->photolist().count(), 0);
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
}

TEST_F(Intake, ClosingTheWindowEndsTheScan) {
    startscan(manyphotos(6000));
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(window->idle());
    const qint64 rows = window->photolist().count();
    QTest::qWait(200);
    EXPECT_EQ(window->photolist().count(), rows);
    window.reset();
}

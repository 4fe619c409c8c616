#include "photolist/labels.h"
#include "support/testphotos.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Intake : public WindowTest {
  protected:
    QString photo(const QString& relative, int orientation = 0) {
        const QString path = dir.filePath(relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        writephoto(path, 16, 16, orientation);
        return path;
    }
};

const QString cw = label::rotatecw;
const QString ccw = label::rotateccw;
const QString half = label::rotate180;
const QString asis = label::asis;

} // namespace

TEST_F(Intake, LoadFoldersWithSubFoldersDepthFirst) {
    // top/a.jpg(6), top/b/c.jpg(8), top/b/d/e.jpg(3), top/f.jpg, top/notes.txt, top/text.jpg
    photo(QStringLiteral("top/a.jpg"), 6);
    photo(QStringLiteral("top/b/c.jpg"), 8);
    photo(QStringLiteral("top/b/d/e.jpg"), 3);
    photo(QStringLiteral("top/f.jpg"));
    writebytes(dir.filePath(QStringLiteral("top/notes.txt")), "notes");
    writebytes(dir.filePath(QStringLiteral("top/text.jpg")), "not a photo");
    const QString top = dir.filePath(QStringLiteral("top"));

    loadfolder(top, true);
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("a.jpg|") + cw, QStringLiteral("c.jpg|") + ccw,
                                   QStringLiteral("e.jpg|") + half, QStringLiteral("f.jpg|") + asis}));
    EXPECT_EQ(rowcounter(), QStringLiteral("4 Photos"));
    EXPECT_EQ(window->photolist().row(1).path, dir.filePath(QStringLiteral("top/b/c.jpg")));
    EXPECT_FALSE(window->state().isloading);
    EXPECT_FALSE(window->findChild<QWidget*>(QStringLiteral("ProgressWheel1"))->isVisible());

    ASSERT_EQ(dialogs.folderrequests.size(), 1u);
    EXPECT_EQ(dialogs.folderrequests[0].prompt,
              QStringLiteral("Select the Folder of Images which you want to Include on the List ... "));
    EXPECT_EQ(dialogs.folderrequests[0].folder,
              QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].title, QStringLiteral("Load All Sub Folders"));
    EXPECT_EQ(dialogs.questions[0].message,
              QStringLiteral("Do You Want to Load All Images in All Sub Folders?"));
    EXPECT_EQ(
        dialogs.questions[0].explanation,
        QStringLiteral("By selecting 'Yes', All Images from the Sub Folders would be included in the list."));
    EXPECT_EQ(dialogs.questions[0].yes, QStringLiteral("Yes"));
    EXPECT_EQ(dialogs.questions[0].no, QStringLiteral("No"));

    // The next dialog opens on the folder chosen; a second load adds to the list.
    loadfolder(top, false);
    ASSERT_EQ(dialogs.folderrequests.size(), 2u);
    EXPECT_EQ(dialogs.folderrequests[1].folder, top);
    EXPECT_EQ(rowcounter(), QStringLiteral("6 Photos"));
}

TEST_F(Intake, LoadFoldersWithoutSubFolders) {
    photo(QStringLiteral("top/a.jpg"), 6);
    photo(QStringLiteral("top/b/c.jpg"), 8);
    photo(QStringLiteral("top/f.JPEG"));
    loadfolder(dir.filePath(QStringLiteral("top")), false);
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("a.jpg|") + cw, QStringLiteral("f.JPEG|") + asis}));
    EXPECT_EQ(rowcounter(), QStringLiteral("2 Photos"));
}

TEST_F(Intake, CancelledFolderDialogChangesNothing) {
    photo(QStringLiteral("top/a.jpg"), 6);
    loadfolder(dir.filePath(QStringLiteral("top")), false);
    dialogs.folders.push_back(QString());
    press(QStringLiteral("loadfolders"));
    EXPECT_EQ(dialogs.questions.size(), 1u); // no sub folder question
    EXPECT_EQ(rows().size(), 1);
    // And the folder to open on stays the last one chosen.
    dialogs.folders.push_back(QString());
    press(QStringLiteral("loadfolders"));
    EXPECT_EQ(dialogs.folderrequests.back().folder, dir.filePath(QStringLiteral("top")));
}

TEST_F(Intake, IntakeOptionsAreReadForEveryLoad) {
    photo(QStringLiteral("a.jpg"), 6);
    photo(QStringLiteral("b.jpg"), 1);
    photo(QStringLiteral("c.jpg"));
    struct Case {
        bool useexif;
        bool onlyneeded;
        QStringList rows;
    };
    const Case cases[] = {
        {true,
         false,
         {QStringLiteral("a.jpg|") + cw, QStringLiteral("b.jpg|") + asis, QStringLiteral("c.jpg|") + asis}},
        {true, true, {QStringLiteral("a.jpg|") + cw}},
        {false,
         false,
         {QStringLiteral("a.jpg|") + asis, QStringLiteral("b.jpg|") + asis, QStringLiteral("c.jpg|") + asis}},
        {false,
         true,
         {QStringLiteral("a.jpg|") + asis, QStringLiteral("b.jpg|") + asis, QStringLiteral("c.jpg|") + asis}},
    };
    for (const Case& c : cases) {
        press(QStringLiteral("clearlist"));
        checkbox("useexiforientation")->setChecked(c.useexif);
        checkbox("onlyloadwhenneeded")->setChecked(c.onlyneeded);
        loadfolder(dir.path(), false);
        EXPECT_EQ(rows(), c.rows) << c.useexif << c.onlyneeded;
    }
}

TEST_F(Intake, LoadFilesTakesTheChosenPhotosInOrder) {
    const QString a = photo(QStringLiteral("one/a.jpg"), 6);
    const QString b = photo(QStringLiteral("two/b.JPE"), 3);
    const QString png = photo(QStringLiteral("two/c.png"));
    const QString heic = dir.filePath(QStringLiteral("two/d.heic"));
    writebytes(heic, QByteArray("\0\0\0\x18"
                                "ftypheic\0\0\0\0mif1heic",
                                24));
    const QString text = dir.filePath(QStringLiteral("three/e.jpg"));
    QDir().mkpath(dir.filePath(QStringLiteral("three")));
    writebytes(text, "not a photo");

    dialogs.files.push_back({b, png, heic, a, text});
    press(QStringLiteral("loadfiles"));
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("b.JPE|") + half, QStringLiteral("a.jpg|") + cw}));
    EXPECT_EQ(rowcounter(), QStringLiteral("2 Photos"));
    EXPECT_FALSE(window->state().isloading);

    ASSERT_EQ(dialogs.filerequests.size(), 1u);
    EXPECT_EQ(dialogs.filerequests[0].title, QStringLiteral("Add Photos to List"));
    EXPECT_EQ(dialogs.filerequests[0].folder,
              QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    EXPECT_EQ(dialogs.filerequests[0].types, (QStringList{QStringLiteral("jpg"), QStringLiteral("jpeg"),
                                                          QStringLiteral("jfif"), QStringLiteral("jpe")}));

    // The next dialog opens where the last file with a JPEG name lay, though it was refused.
    dialogs.files.push_back({});
    press(QStringLiteral("loadfiles"));
    ASSERT_EQ(dialogs.filerequests.size(), 2u);
    EXPECT_EQ(dialogs.filerequests[1].folder, dir.filePath(QStringLiteral("three")));
    EXPECT_EQ(rows().size(), 2);
    // A cancelled dialog leaves the folder where it was.
    dialogs.files.push_back({});
    press(QStringLiteral("loadfiles"));
    EXPECT_EQ(dialogs.filerequests[2].folder, dir.filePath(QStringLiteral("three")));
}

TEST_F(Intake, TheWindowLivesThroughAScanAndItsCommandsWait) {
    // 150 photos in one folder: the count line is refreshed at the 100th, and the window handles
    // events during the scan, where a click on any toolbar button must do nothing.
    const QByteArray bytes = [&] {
        writephoto(dir.filePath(QStringLiteral("model.jpg")), 8, 8, 6);
        return readbytes(dir.filePath(QStringLiteral("model.jpg")));
    }();
    QDir().mkpath(dir.filePath(QStringLiteral("many")));
    for (int i = 0; i < 150; ++i)
        writebytes(dir.filePath(QStringLiteral("many/p%1.jpg").arg(i, 3, 10, QLatin1Char('0'))), bytes);

    QStringList counts;
    int pressed = 0;
    QTimer during;
    QObject::connect(&during, &QTimer::timeout, [&] {
        if (!counts.contains(rowcounter()))
            counts << rowcounter();
        if (pressed++ == 0) {
            for (const char* command : {"loadfiles", "loadfolders", "start", "loadstart", "clearlist"})
                press(QLatin1String(command));
        }
    });
    during.start(0);
    loadfolder(dir.filePath(QStringLiteral("many")), false);
    during.stop();

    EXPECT_GT(pressed, 0);
    EXPECT_TRUE(counts.contains(QStringLiteral("100 Photos"))) << counts.join(QLatin1Char(',')).toStdString();
    EXPECT_EQ(rowcounter(), QStringLiteral("150 Photos"));
    EXPECT_EQ(window->photolist().count(), 150);
    EXPECT_EQ(dialogs.folderrequests.size(), 1u);
    EXPECT_TRUE(dialogs.filerequests.empty());
    EXPECT_TRUE(dialogs.told.empty());
    EXPECT_FALSE(window->state().isrunning);
}

TEST_F(Intake, PackagesAndLinksUpwardAreNotFollowed) {
    photo(QStringLiteral("top/a.jpg"), 6);
    photo(QStringLiteral("top/Viewer.app/inside.jpg"), 6);
    photo(QStringLiteral("top/Library.photoslibrary/inside.jpg"), 6);
    QDir().mkpath(dir.filePath(QStringLiteral("top/sub")));
    QFile::link(dir.filePath(QStringLiteral("top")), dir.filePath(QStringLiteral("top/sub/loop")));
    loadfolder(dir.filePath(QStringLiteral("top")), true);
    // The link leads back into the folder being scanned: the scan ends all the same.
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("a.jpg|") + cw}));
}

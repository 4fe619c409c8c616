#include "support/places.h"
#include "support/testphotos.h"
#include "windowtest.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Run : public WindowTest {
  protected:
    // Photos in the test's folder (name and EXIF orientation, 0 for none), loaded in name order.
    void load(std::initializer_list<std::pair<const char*, int>> photos) {
        for (const auto& [name, orientation] : photos)
            writephoto(path(name), 48, 32, orientation);
        loadfolder(dir.path(), false);
    }
    Pixels pixels(const char* name) const { return decodejpeg(path(name)); }
    void expectturned(const char* name, const Pixels& before, Action action) const {
        EXPECT_LE(maxdifference(pixels(name), turned(before, action)), idcttolerance) << name;
    }
    void expectallasis() const {
        for (const QString& row : rows())
            EXPECT_TRUE(row.endsWith(QStringLiteral("|As Is"))) << row.toStdString();
    }
};

} // namespace

TEST_F(Run, StartTurnsTheMarkedPhotosAndEndsWithAllDone) {
    load({{"a.jpg", 6}, {"b.jpg", 0}, {"c.jpg", 3}, {"d.jpg", 8}});
    const Pixels a = pixels("a.jpg"), c = pixels("c.jpg"), d = pixels("d.jpg");
    const QByteArray b = readbytes(path("b.jpg"));
    press("start");
    EXPECT_EQ(rowcounter(), QStringLiteral("Starting ..."));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    expectturned("c.jpg", c, Action::Rotate180);
    expectturned("d.jpg", d, Action::Rotate90Counterclockwise);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    expectallasis();
    EXPECT_FALSE(window->state().isrunning);
    EXPECT_TRUE(window->photolist().filelist().empty());
    // Every label is "As Is" now, so a second Start finds nothing to do.
    press("start");
    EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("There Is Nothing to Process"));
}

TEST_F(Run, DuringARunTheCountLineNamesThePhotoInWorkAndTheToolbarDoesNothing) {
    load({{"a.jpg", 6}, {"b.jpg", 6}});
    HeldRun held;
    press("start");
    ASSERT_TRUE(waitforstatus(QStringLiteral("Rotating a.jpg")));
    for (const char* command : {"start", "loadstart", "loadfiles", "loadfolders", "clearlist"})
        press(command);
    EXPECT_EQ(window->photolist().count(), 2);
    EXPECT_TRUE(dialogs.told.isEmpty());
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(dialogs.startfolders.size(), 1);
    EXPECT_EQ(pixels("b.jpg").width, 32);
}

TEST_F(Run, ClosingDuringARunFinishesThePhotoInWorkAndNoOther) {
    load({{"a.jpg", 6}, {"b.jpg", 6}});
    const Pixels a = pixels("a.jpg");
    const QByteArray b = readbytes(path("b.jpg"));
    HeldRun held;
    press("start");
    ASSERT_TRUE(waitforstatus(QStringLiteral("Rotating a.jpg")));
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    held.release();
    window.reset(); // the program's end: waits for the photo in work
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    EXPECT_FALSE(QFile::exists(datafolder() + QStringLiteral("/xtemp.jpg")));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

TEST_F(Run, NothingToProcess) {
    // An empty list stores nothing; a list with nothing marked stores the options it tried.
    tick("uselosslessrotation");
    press("start");
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    EXPECT_TRUE(loadsettings().uselosslessrotation);
    load({{"a.jpg", 0}, {"b.jpg", 1}});
    // The quality is held in range and stored at every try.
    for (const auto& [typed, corrected] :
         {std::pair{"9", "10"}, {"101", "100"}, {"abc", "70"}, {"55.9", "55"}}) {
        qualityfield()->setText(QLatin1String(typed));
        press("start");
        EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
        EXPECT_EQ(dialogs.told.back(), QStringLiteral("There Is Nothing to Process"));
        EXPECT_EQ(qualityfield()->text(), QLatin1String(corrected)) << typed;
        EXPECT_EQ(slider()->value(), QString::fromLatin1(corrected).toInt()) << typed;
        EXPECT_EQ(loadsettings().jpgquality, QLatin1String(corrected)) << typed;
        EXPECT_FALSE(loadsettings().uselosslessrotation);
    }
}

TEST_F(Run, MissingAndDamagedPhotosAreNamedInTheFinalBox) {
    writephoto(path("damaged.jpg"), 128, 128, 6);
    const QByteArray damaged = readbytes(path("damaged.jpg")).left(800);
    writebytes(path("damaged.jpg"), damaged);
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 6}});
    ASSERT_EQ(rows().size(), 4);
    QFile::remove(path("a.jpg"));
    QFile::remove(path("c.jpg"));
    press("start");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_TRUE(dialogs.told.back().startsWith(QStringLiteral(
        "The Following Files Could not be Processed as they may be missing or deleted\n\na.jpg\nc.jpg"
        "\n\nThe Following Photos Could not be Rotated and were Left Unchanged\n\ndamaged.jpg: ")))
        << dialogs.told.back().toStdString();
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    EXPECT_EQ(readbytes(path("damaged.jpg")), damaged);
    EXPECT_EQ(pixels("b.jpg").width, 32);
    expectallasis();
}

TEST_F(Run, LoadAndStart) {
    // A cancelled folder dialog on an empty list: nothing to process.
    dialogs.folders.push_back(QString());
    press("loadstart");
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});
    writephoto(path("a.jpg"), 48, 32, 6);
    const Pixels a = pixels("a.jpg");
    dialogs.folders.push_back(dir.path());
    dialogs.answers.push_back(false);
    press("loadstart");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("All Done"));
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
}

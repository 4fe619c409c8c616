#include "support/places.h"
#include "support/testphotos.h"
#include "windowtest.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QSlider>
#include <QTest>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Run : public WindowTest {
  protected:
    // Photos in the test's folder (name and EXIF orientation, 0 for none), loaded in name order.
    void load(std::initializer_list<std::pair<const char*, int>> photos) {
        for (const auto& [name, orientation] : photos)
            writephoto(path(QLatin1String(name)), 48, 32, orientation);
        loadfolder(dir.path(), false);
    }
    Pixels pixels(const char* name) const { return decodejpeg(path(QLatin1String(name))); }
    int difference(const char* name, const Pixels& before, Action action) const {
        return maxdifference(pixels(name), turned(before, action));
    }
    bool allasis() const {
        const QStringList all = rows();
        return std::all_of(all.begin(), all.end(), [](const QString& r) { return r.endsWith(QStringLiteral("|As Is")); });
    }
};

} // namespace

TEST_F(Run, StartTurnsTheMarkedPhotosAndEndsWithAllDone) {
    load({{"a.jpg", 6}, {"b.jpg", 0}, {"c.jpg", 3}, {"d.jpg", 8}});
    const Pixels a = pixels("a.jpg"), c = pixels("c.jpg"), d = pixels("d.jpg");
    const QByteArray b = readbytes(path(QStringLiteral("b.jpg")));
    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Starting ..."));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    EXPECT_LE(difference("a.jpg", a, Action::Rotate90Clockwise), idcttolerance);
    EXPECT_LE(difference("c.jpg", c, Action::Rotate180), idcttolerance);
    EXPECT_LE(difference("d.jpg", d, Action::Rotate90Counterclockwise), idcttolerance);
    EXPECT_EQ(readbytes(path(QStringLiteral("b.jpg"))), b);
    EXPECT_TRUE(allasis());
    EXPECT_FALSE(window->state().isrunning);
    EXPECT_TRUE(window->photolist().filelist().empty());
    // Every label is "As Is" now, so a second Start finds nothing to do.
    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("There Is Nothing to Process"));
}

TEST_F(Run, DuringARunTheCountLineNamesThePhotoInWorkAndTheToolbarDoesNothing) {
    load({{"a.jpg", 6}, {"b.jpg", 6}});
    HeldRun held;
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforstatus(QStringLiteral("Rotating a.jpg")));
    for (const char* command : {"start", "loadstart", "loadfiles", "loadfolders", "clearlist"})
        press(QLatin1String(command));
    EXPECT_EQ(window->photolist().count(), 2);
    EXPECT_TRUE(dialogs.told.isEmpty());
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(dialogs.folderrequests.size(), 1u);
    EXPECT_EQ(pixels("b.jpg").width, 32);
}

TEST_F(Run, ClosingDuringARunFinishesThePhotoInWorkAndNoOther) {
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 3}});
    const Pixels a = pixels("a.jpg");
    const QByteArray b = readbytes(path(QStringLiteral("b.jpg")));
    HeldRun held;
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforstatus(QStringLiteral("Rotating a.jpg")));
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    held.release();
    window.reset(); // the program's end: waits for the photo in work
    EXPECT_LE(difference("a.jpg", a, Action::Rotate90Clockwise), idcttolerance);
    EXPECT_EQ(readbytes(path(QStringLiteral("b.jpg"))), b);
    EXPECT_EQ(pixels("c.jpg").width, 48);
    EXPECT_FALSE(QFile::exists(datafolder() + QStringLiteral("/xtemp.jpg")));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

TEST_F(Run, NothingToProcess) {
    // An empty list stores nothing; a list with nothing marked stores the options it tried.
    tick("uselosslessrotation");
    press(QStringLiteral("start"));
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    EXPECT_TRUE(loadsettings().uselosslessrotation);
    load({{"a.jpg", 0}, {"b.jpg", 1}});
    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("There Is Nothing to Process"));
    EXPECT_FALSE(loadsettings().uselosslessrotation);
    // The quality is held in range and stored at every try.
    for (const auto& [typed, corrected] : {std::pair{"9", "10"}, {"101", "100"}, {"abc", "70"}, {"55.9", "55"}}) {
        qualityfield()->setText(QLatin1String(typed));
        press(QStringLiteral("start"));
        EXPECT_EQ(qualityfield()->text(), QLatin1String(corrected)) << typed;
        EXPECT_EQ(slider()->value(), QString::fromLatin1(corrected).toInt()) << typed;
        EXPECT_EQ(loadsettings().jpgquality, QLatin1String(corrected)) << typed;
    }
}

TEST_F(Run, MissingAndDamagedPhotosAreNamedInTheFinalBox) {
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 6}});
    writephoto(path(QStringLiteral("damaged.jpg")), 128, 128, 6);
    const QByteArray damaged = readbytes(path(QStringLiteral("damaged.jpg"))).left(800);
    writebytes(path(QStringLiteral("damaged.jpg")), damaged);
    press(QStringLiteral("clearlist"));
    loadfolder(dir.path(), false);
    ASSERT_EQ(rows().size(), 4);
    QFile::remove(path(QStringLiteral("a.jpg")));
    QFile::remove(path(QStringLiteral("c.jpg")));
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforendofrun());
    const QString box = dialogs.told.back();
    EXPECT_TRUE(box.startsWith(QStringLiteral("The Following Files Could not be Processed as they may be missing or "
                                              "deleted\n\na.jpg\nc.jpg\n\nThe Following Photos Could not be Rotated "
                                              "and were Left Unchanged\n\ndamaged.jpg: ")))
        << box.toStdString();
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    EXPECT_EQ(readbytes(path(QStringLiteral("damaged.jpg"))), damaged);
    EXPECT_EQ(pixels("b.jpg").width, 32);
    EXPECT_TRUE(allasis());
}

TEST_F(Run, LoadAndStart) {
    // A cancelled folder dialog on an empty list: nothing to process.
    dialogs.folders.push_back(QString());
    press(QStringLiteral("loadstart"));
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});

    writephoto(path(QStringLiteral("a.jpg")), 48, 32, 6);
    const Pixels a = pixels("a.jpg");
    dialogs.folders.push_back(dir.path());
    dialogs.answers.push_back(false);
    press(QStringLiteral("loadstart"));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("All Done"));
    EXPECT_LE(difference("a.jpg", a, Action::Rotate90Clockwise), idcttolerance);
}

#include "support/places.h"
#include "windowtest.h"

#include <QDir>
#include <QFile>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Run : public WindowTest {
  protected:
    Pixels pixels(const char* name) const { return decodejpeg(path(name)); }
    void expectallasis() const {
        for (const QString& row : rows())
            EXPECT_TRUE(row.endsWith("|As Is")) << row.toStdString();
    }
};

} // namespace

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
    expectallasis();
    EXPECT_FALSE(window->state().isrunning);
    EXPECT_TRUE(window->photolist().filelist().empty());
    // Every label is "As Is" now, so Start finds nothing to do.
    press("start");
    EXPECT_EQ(rowcounter(), "Nothing to Process");
    EXPECT_EQ(dialogs.told.back(), "There Is Nothing to Process");
}

TEST_F(Run, ClosingDuringARunFinishesThePhotoInWorkAndNoOther) {
    load({{"a.jpg", 6}, {"b.jpg", 6}});
    const Pixels a = pixels("a.jpg");
    const QByteArray b = readbytes(path("b.jpg"));
    UniqueFd held = startheldrun();
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    held.reset();
    window.reset(); // the program's end: waits for the photo in work
    expectturned("a.jpg", a, Action::Rotate90Clockwise);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    EXPECT_FALSE(QFile::exists(datafolder() + "/xtemp.jpg"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

TEST_F(Run, NothingToProcessStoresTheOptionsTriedOnlyForAListWithNothingMarked) {
    // An empty list, by Start or by a Load + Start whose dialog is cancelled, stores nothing.
    tick("uselosslessrotation");
    dialogs.folders.push_back(QString());
    press("start");
    press("loadstart");
    EXPECT_EQ(dialogs.told, QStringList({"There is Nothing to Process", "There is Nothing to Process"}));
    EXPECT_EQ(rowcounter(), "0 Photos");
    EXPECT_TRUE(loadsettings().uselosslessrotation);
    load({{"a.jpg", 0}, {"b.jpg", 1}});
    // The quality is held in range and stored at every try.
    for (const auto& [typed, corrected] :
         {std::pair{"9", "10"}, {"101", "100"}, {"abc", "70"}, {"55.9", "55"}}) {
        qualityfield()->setText(typed);
        press("start");
        EXPECT_EQ(rowcounter(), "Nothing to Process");
        EXPECT_EQ(dialogs.told.back(), "There Is Nothing to Process");
        EXPECT_EQ(qualityfield()->text(), corrected) << typed;
        EXPECT_EQ(slider()->value(), QString(corrected).toInt()) << typed;
        EXPECT_EQ(loadsettings().jpgquality, corrected) << typed;
        EXPECT_FALSE(loadsettings().uselosslessrotation);
    }
}

TEST_F(Run, TheFinalBoxNamesTheMissingThenTheDamagedInListOrder) {
    // The damaged photo comes first on the list and last in the box.
    photo({"0damaged.jpg", 6, {128, 128}});
    const QByteArray damaged = readbytes(path("0damaged.jpg")).left(800);
    writebytes(path("0damaged.jpg"), damaged);
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 6}});
    ASSERT_EQ(rows().size(), 4);
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
    EXPECT_EQ(pixels("b.jpg").width, 32);
    expectallasis();
}

#include "photolist/labels.h"
#include "shell/settingsstore.h"
#include "support/places.h"
#include "support/testphotos.h"
#include "support/uniquefd.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTest>
#include <fcntl.h>
#include <sys/file.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// Holds the lock that every photo's rewrite takes on the data folder, so that a run stands
// still at its first photo, right after announcing it, until released.
class HeldRun {
  public:
    HeldRun() {
        ensurefolder(datafolder());
        lock_ = UniqueFd(::open(QFile::encodeName(datafolder() + QStringLiteral("/xtemp.lock")).constData(),
                                O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_TRUE(lock_.valid());
        EXPECT_EQ(::flock(lock_.get(), LOCK_EX), 0);
    }
    void release() { lock_.reset(); }

  private:
    UniqueFd lock_;
};

class Run : public WindowTest {
  protected:
    // Photos in the test's folder: name and EXIF orientation (0: none).
    void photos(std::initializer_list<std::pair<const char*, int>> list) {
        for (const auto& [name, orientation] : list)
            writephoto(dir.filePath(QLatin1String(name)), 48, 32, orientation);
    }
    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    bool waitforstatus(const QString& text) {
        return QTest::qWaitFor([&] { return rowcounter() == text; }, 60000);
    }
};

} // namespace

TEST_F(Run, StartTurnsTheMarkedPhotosAndEndsWithAllDone) {
    photos({{"a.jpg", 6}, {"b.jpg", 0}, {"c.jpg", 3}, {"d.jpg", 8}});
    const Pixels a = decodejpeg(path("a.jpg"));
    const Pixels c = decodejpeg(path("c.jpg"));
    const Pixels d = decodejpeg(path("d.jpg"));
    const QByteArray b = readbytes(path("b.jpg"));
    loadfolder(dir.path(), false);

    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Starting ..."));
    ASSERT_TRUE(waitforendofrun());

    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    for (const QString& row : rows())
        EXPECT_TRUE(row.endsWith(QStringLiteral("|As Is"))) << row.toStdString();
    EXPECT_EQ(rows().size(), 4);
    EXPECT_EQ(decodejpeg(path("a.jpg")).width, 32);
    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90)), 4);
    EXPECT_LE(maxdifference(decodejpeg(path("c.jpg")), turned(c, Action::Rotate180)), 4);
    EXPECT_LE(maxdifference(decodejpeg(path("d.jpg")), turned(d, Action::Rotate270)), 4);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    EXPECT_FALSE(window->state().isrunning);
    EXPECT_FALSE(window->state().boliao);
    EXPECT_TRUE(window->photolist().filelist().empty());

    // Every label is "As Is" now, so a second Start finds nothing to do.
    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("There Is Nothing to Process"));
}

TEST_F(Run, TheCountLineShowsThePhotoInWork) {
    photos({{"first.jpg", 6}, {"second.jpg", 6}});
    loadfolder(dir.path(), false);
    HeldRun held;
    press(QStringLiteral("start"));
    EXPECT_TRUE(waitforstatus(QStringLiteral("Rotating first.jpg")));
    EXPECT_TRUE(window->state().isrunning);
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
}

TEST_F(Run, DuringARunTheToolbarDoesNothing) {
    photos({{"a.jpg", 6}, {"b.jpg", 6}});
    loadfolder(dir.path(), false);
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
    EXPECT_TRUE(dialogs.filerequests.empty());
    EXPECT_EQ(decodejpeg(path("b.jpg")).width, 32);
}

TEST_F(Run, ClosingDuringARunFinishesThePhotoInWorkAndNoOther) {
    photos({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 3}});
    const Pixels a = decodejpeg(path("a.jpg"));
    const QByteArray b = readbytes(path("b.jpg"));
    const QByteArray c = readbytes(path("c.jpg"));
    loadfolder(dir.path(), false);
    HeldRun held;
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforstatus(QStringLiteral("Rotating a.jpg")));

    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());
    held.release();
    window.reset(); // the program's end: waits for the photo in work

    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90)), 4);
    EXPECT_EQ(readbytes(path("b.jpg")), b);
    EXPECT_EQ(readbytes(path("c.jpg")), c);
    EXPECT_FALSE(QFile::exists(datafolder() + QStringLiteral("/xtemp.jpg")));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

TEST_F(Run, NothingMarked) {
    photos({{"a.jpg", 0}, {"b.jpg", 1}});
    loadfolder(dir.path(), false);
    tick("uselosslessrotation");
    press(QStringLiteral("start"));
    EXPECT_EQ(rowcounter(), QStringLiteral("Nothing to Process"));
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There Is Nothing to Process")});
    EXPECT_FALSE(window->state().isrunning);
    // The options of every try of a run are stored.
    EXPECT_FALSE(loadsettings().uselosslessrotation);
}

TEST_F(Run, StartOnAnEmptyList) {
    tick("uselosslessrotation");
    press(QStringLiteral("start"));
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    // No try of a run: nothing was stored.
    EXPECT_TRUE(loadsettings().uselosslessrotation);
}

TEST_F(Run, TheQualityIsHeldInRangeWhenARunStarts) {
    photos({{"a.jpg", 0}});
    loadfolder(dir.path(), false);
    struct Case {
        const char* typed;
        const char* corrected;
    };
    const Case cases[] = {{"9", "10"}, {"101", "100"}, {"abc", "70"}, {"55.9", "55"},
                          {"", "70"},  {"-3", "10"},   {"75", "75"},  {"100", "100"}};
    for (const Case& c : cases) {
        qualityfield()->setText(QString::fromLatin1(c.typed));
        press(QStringLiteral("start"));
        EXPECT_EQ(qualityfield()->text(), QString::fromLatin1(c.corrected)) << c.typed;
        EXPECT_EQ(slider()->value(), QString::fromLatin1(c.corrected).toInt()) << c.typed;
        EXPECT_EQ(loadsettings().jpgquality, QString::fromLatin1(c.corrected)) << c.typed;
    }
}

TEST_F(Run, MissingPhotosAreNamedInTheFinalBox) {
    photos({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 6}});
    loadfolder(dir.path(), false);
    QFile::remove(path("a.jpg"));
    QFile::remove(path("c.jpg"));
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told.back(), QStringLiteral("The Following Files Could not be Processed as they may be "
                                                  "missing or deleted\n\na.jpg\nc.jpg"));
    EXPECT_EQ(rowcounter(), QStringLiteral("All Done"));
    EXPECT_EQ(decodejpeg(path("b.jpg")).width, 32);
    for (const QString& row : rows())
        EXPECT_TRUE(row.endsWith(QStringLiteral("|As Is"))) << row.toStdString();
}

TEST_F(Run, PhotosThatCouldNotBeTurnedAreNamedWithTheirReason) {
    photos({{"good.jpg", 6}});
    writephoto(path("damaged.jpg"), 128, 128, 6);
    const QByteArray damaged = readbytes(path("damaged.jpg")).left(800);
    writebytes(path("damaged.jpg"), damaged);
    loadfolder(dir.path(), false);
    ASSERT_EQ(rows().size(), 2);
    press(QStringLiteral("start"));
    ASSERT_TRUE(waitforendofrun());
    const QString box = dialogs.told.back();
    EXPECT_TRUE(
        box.startsWith(QStringLiteral("The Following Photos Could not be Rotated and were Left Unchanged\n\n"
                                      "damaged.jpg: ")))
        << box.toStdString();
    EXPECT_EQ(readbytes(path("damaged.jpg")), damaged);
    EXPECT_EQ(decodejpeg(path("good.jpg")).width, 32);
}

TEST_F(Run, LoadAndStart) {
    photos({{"a.jpg", 6}});
    const Pixels a = decodejpeg(path("a.jpg"));
    dialogs.folders.push_back(dir.path());
    dialogs.answers.push_back(false);
    press(QStringLiteral("loadstart"));
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("All Done")});
    EXPECT_LE(maxdifference(decodejpeg(path("a.jpg")), turned(a, Action::Rotate90)), 4);
}

TEST_F(Run, LoadAndStartCancelledOnAnEmptyList) {
    dialogs.folders.push_back(QString());
    press(QStringLiteral("loadstart"));
    EXPECT_EQ(dialogs.told, QStringList{QStringLiteral("There is Nothing to Process")});
}

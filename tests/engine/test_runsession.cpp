// Runs over photos in a temporary folder with a data folder of their own: what each photo
// becomes, what survives its turn, and what a failing step leaves.

#include "engine/runsession.h"
#include "support/othercolours.h"
#include "support/taggedphotos.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Runs : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    PhotoRow row(const QString& name, Action action) const { return {name, action, file(name)}; }
    QString orientation(const QString& path) {
        return readtag(path, QStringLiteral("IFD0:Orientation"), true);
    }
    QString resolution(const QString& path, char axis = 'X') {
        return readtag(path, QStringLiteral("IFD0:%1Resolution").arg(QLatin1Char(axis)), true);
    }
    int filecount() const { return int(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size()); }
    bool leftworkingfile() const { return QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))); }

    // Runs the session to its end; `stopat` asks it to stop when that photo starts.
    std::vector<PhotoReport> run(const WorkList& work, const RunOptions& options = {},
                                 const QString& toolfile = exiftoolpath(), qint64 stopat = -1) {
        RunSession session(work, options, {data.path(), toolfile});
        QObject::connect(
            &session, &RunSession::photostarted, &session,
            [&](qint64 index, const QString& name) {
                started << QStringLiteral("%1 %2").arg(index).arg(name);
                if (index == stopat)
                    session.requeststop();
            },
            Qt::DirectConnection);
        QObject::connect(
            &session, &RunSession::photofinished, &session, [&](const PhotoReport&) { ++finished; },
            Qt::DirectConnection);
        session.start();
        EXPECT_TRUE(session.wait(QDeadlineTimer(120000)));
        return session.reports();
    }

    QTemporaryDir dir, data;
    QStringList started;
    int finished = 0;
};

} // namespace

TEST_F(Runs, ReportEveryPhotoInOrderAndTurnTheOnesTheyCan) {
    writepattern(file(QStringLiteral("cw.jpg")), 48, 32);
    writepattern(file(QStringLiteral("flip.jpg")), 48, 32);
    writepattern(file(QStringLiteral("damaged.jpg")), 128, 128);
    writebytes(file(QStringLiteral("damaged.jpg")), readbytes(file(QStringLiteral("damaged.jpg"))).left(700));
    const QByteArray damaged = readbytes(file(QStringLiteral("damaged.jpg")));
    const Pixels before = decodejpeg(file(QStringLiteral("cw.jpg")));
    const WorkList work{row(QStringLiteral("cw.jpg"), Action::Rotate90Clockwise),
                        row(QStringLiteral("gone.jpg"), Action::Rotate180),
                        row(QStringLiteral("damaged.jpg"), Action::Rotate90Clockwise),
                        row(QStringLiteral("flip.jpg"), Action::FlipLeft)};
    const auto reports = run(work);

    ASSERT_EQ(reports.size(), 4u);
    const PhotoOutcome outcomes[] = {PhotoOutcome::Turned, PhotoOutcome::Missing, PhotoOutcome::Failed,
                                     PhotoOutcome::Turned};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(reports[i].outcome, outcomes[i]) << i;
        EXPECT_EQ(reports[i].index, qint64(i));
        EXPECT_EQ(reports[i].photo.path, work[i].path);
    }
    EXPECT_EQ(started, (QStringList{QStringLiteral("0 cw.jpg"), QStringLiteral("1 gone.jpg"),
                                    QStringLiteral("2 damaged.jpg"), QStringLiteral("3 flip.jpg")}));
    EXPECT_EQ(finished, 4);
    for (const size_t i : {0, 3})
        EXPECT_LE(maxdifference(decodejpeg(work[i].path), turned(before, work[i].action)), idcttolerance);
    EXPECT_EQ(readbytes(work[2].path), damaged);
    EXPECT_TRUE(reports[2].reason.contains(QStringLiteral("damaged"))) << qPrintable(reports[2].reason);
    EXPECT_FALSE(leftworkingfile());
}

TEST_F(Runs, StopAfterThePhotoInWork) {
    WorkList work;
    for (const QString& name : {QStringLiteral("a.jpg"), QStringLiteral("b.jpg"), QStringLiteral("c.jpg")}) {
        writepattern(file(name), 48, 32);
        work.push_back(row(name, Action::Rotate90Clockwise));
    }
    const auto reports = run(work, {}, exiftoolpath(), 0);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].outcome, PhotoOutcome::Turned);
    EXPECT_EQ(decodejpeg(work[0].path).width, 32);
    EXPECT_EQ(decodejpeg(work[1].path).width, 48); // untouched
}

TEST_F(Runs, ALosslessRunKeepsEveryTagAndEndsUpright) {
    // A line break can't travel through the long-lived tool's argument stream: that photo's
    // commands go to processes of their own. The other names are odd to the tool's reader.
    const struct {
        QString name;
        int orientation;
        Action action;
        int dpi; // 0: no resolution at all, which ends as 72
    } photos[] = {
        {QStringLiteral("line\nbreak.jpg"), 6, Action::Rotate90Clockwise, 300},
        {QStringLiteral("-dash 'quote' \"\u00E9t\u00E9\".jpg"), 8, Action::Rotate90Counterclockwise, 240},
        {QStringLiteral("#hash.jpg"), 3, Action::Rotate180, 300},
        {QStringLiteral("mirrored.jpg"), 2, Action::FlipLeft, 72},
        {QStringLiteral("bare.jpg"), 6, Action::Rotate90Clockwise, 0}};
    WorkList work;
    std::vector<QMap<QString, QString>> tags;
    std::vector<QList<QByteArray>> profiles;
    std::vector<Pixels> pixels;
    for (const auto& p : photos) {
        work.push_back(row(p.name, p.action));
        if (p.dpi) {
            writetaggedphoto(work.back().path, 48, 32, p.orientation, p.dpi);
        } else {
            writepattern(work.back().path, 48, 32);
            writetags(work.back().path, {QStringLiteral("-JFIF:all=")});
        }
        pixels.push_back(decodejpeg(work.back().path));
        tags.push_back(alltags(work.back().path));
        profiles.push_back(segmentbodies(work.back().path, 0xE2));
    }
    ASSERT_GT(tags[0].size(), 60);

    const auto reports = run(work);
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        const auto& p = photos[i];
        const QString& path = work[i].path;
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned)
            << qPrintable(p.name) << qPrintable(reports[i].reason);
        EXPECT_LE(maxdifference(decodejpeg(path), turned(pixels[i], p.action)), idcttolerance)
            << qPrintable(p.name);
        EXPECT_EQ(orientation(path), QStringLiteral("1")) << qPrintable(p.name);
        EXPECT_EQ(resolution(path), QString::number(p.dpi ? p.dpi : 72)) << qPrintable(p.name);
        EXPECT_EQ(resolution(path, 'Y'), QString::number(p.dpi ? p.dpi : 72)) << qPrintable(p.name);
        EXPECT_EQ(segmentbodies(path, 0xE2), profiles[i]) << qPrintable(p.name);
        const auto after = alltags(path);
        for (auto it = tags[i].begin(); it != tags[i].end(); ++it) {
            // What a turn changes, or what describes the file rather than the photo.
            static const QStringList changes{
                QStringLiteral("IFD0:Orientation"),    QStringLiteral("File:ImageWidth"),
                QStringLiteral("File:ImageHeight"),    QStringLiteral("File:EncodingProcess"),
                QStringLiteral("Composite:ImageSize"), QStringLiteral("SourceFile")};
            if (!it.key().startsWith(QLatin1String("System:")) && !changes.contains(it.key())) {
                EXPECT_EQ(after.value(it.key(), QStringLiteral("(gone)")), it.value())
                    << qPrintable(it.key());
            }
        }
    }
    // The last photo's dump stays until the next run needs the name.
    EXPECT_TRUE(readbytes(data.filePath(QStringLiteral("pexif/1.xml"))).contains("bare.jpg"));
    EXPECT_FALSE(leftworkingfile());
}

TEST_F(Runs, WithoutTheToolPhotosAreStillTurnedAndUprightWithTheirOwnResolution) {
    const int dpis[] = {300, 240, 0}; // 0: none, which ends as 72
    WorkList work;
    for (const int dpi : dpis) {
        work.push_back(row(QStringLiteral("%1.jpg").arg(dpi), Action::Rotate90Clockwise));
        writetaggedphoto(work.back().path, 48, 32, 6, dpi);
        if (!dpi)
            writetags(work.back().path,
                      {QStringLiteral("-EXIF:XResolution="), QStringLiteral("-EXIF:YResolution=")});
    }
    // A dump of an earlier photo must not outlive its photo, tool or no tool.
    const QString dump = data.filePath(QStringLiteral("pexif/1.xml"));
    QDir().mkpath(QFileInfo(dump).path());
    writebytes(dump, "stale");

    const auto reports = run(work, {}, file(QStringLiteral("no-such-tool")));
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned) << qPrintable(reports[i].reason);
        EXPECT_EQ(decodejpeg(work[i].path).width, 32);
        EXPECT_EQ(orientation(work[i].path), QStringLiteral("1"));
        EXPECT_EQ(resolution(work[i].path), QString::number(dpis[i] ? dpis[i] : 72));
        EXPECT_EQ(resolution(work[i].path, 'Y'), QString::number(dpis[i] ? dpis[i] : 72));
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:Make")), QStringLiteral("Canon"));
    }
    EXPECT_FALSE(QFile::exists(dump));
}

TEST_F(Runs, KeepTheFileDatesOnlyWithTheOption) {
    const timespec times[2] = {{981173106, 123456789}, {978307200, 987654321}}; // accessed, modified
    for (const bool preserve : {true, false}) {
        const PhotoRow photo =
            row(preserve ? QStringLiteral("kept.jpg") : QStringLiteral("new.jpg"), Action::Rotate90Clockwise);
        writetaggedphoto(photo.path, 48, 32, 6, 300);
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(photo.path).constData(), times, 0), 0);
        const auto reports = run({photo}, {.preservedates = preserve});
        ASSERT_EQ(reports.size(), 1u);
        ASSERT_EQ(reports[0].outcome, PhotoOutcome::Turned) << qPrintable(reports[0].reason);

        struct stat after {};
        ::stat(QFile::encodeName(photo.path).constData(), &after); // before anything here reads it
        const bool kept =
            after.st_mtim.tv_sec == times[1].tv_sec && after.st_mtim.tv_nsec == times[1].tv_nsec &&
            after.st_atim.tv_sec == times[0].tv_sec && after.st_atim.tv_nsec == times[0].tv_nsec;
        EXPECT_EQ(kept, preserve);
        EXPECT_EQ(decodejpeg(photo.path).width, 32); // rewritten all the same
    }
}

TEST_F(Runs, AFailingStepLeavesThePhotoAsItWasAndSaysWhy) {
    const QString dying = writefaketool(file(QStringLiteral("dying-tool")), "kill -9 $$\n");
    writetaggedphoto(file(QStringLiteral("tagged.jpg")), 48, 32, 6, 300);
    // Its EXIF block is damaged: the photo turns, but no writer will set its orientation tag.
    writepattern(file(QStringLiteral("exif.jpg")), 48, 32);
    insertsegment(file(QStringLiteral("exif.jpg")), 0xE1, QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14));
    writepattern(file(QStringLiteral("truncated.jpg")), 128, 128);
    writebytes(file(QStringLiteral("truncated.jpg")),
               readbytes(file(QStringLiteral("truncated.jpg"))).left(900));
    writecmyk(file(QStringLiteral("cmyk.jpg")), 16, 16);
    writepattern(file(QStringLiteral("jpeg.HEIC")), 16, 16); // JPEG data that a file dialog let in

    const RunOptions reencode{.uselosslessrotation = false};
    const struct {
        const char* name;
        QString toolfile;
        RunOptions options;
        const char* says;
    } cases[] = {
        {"tagged.jpg", dying, {}, "the metadata dump failed: the metadata tool stopped unexpectedly"},
        {"exif.jpg", exiftoolpath(), {}, "the orientation tag can't be set upright: "},
        {"truncated.jpg", exiftoolpath(), reencode, "can't be decoded"},
        {"cmyk.jpg", exiftoolpath(), reencode, "CMYK"},
        {"jpeg.HEIC", exiftoolpath(), reencode, "isn't named as a JPEG file"},
    };
    const int files = filecount();
    for (const auto& c : cases) {
        const PhotoRow photo = row(QString::fromLatin1(c.name), Action::Rotate90Clockwise);
        const QByteArray bytes = readbytes(photo.path);
        const auto reports = run({photo}, c.options, c.toolfile);
        ASSERT_EQ(reports.size(), 1u) << c.name;
        EXPECT_EQ(reports[0].outcome, PhotoOutcome::Failed) << c.name;
        EXPECT_TRUE(reports[0].reason.contains(QLatin1String(c.says)))
            << c.name << ": " << qPrintable(reports[0].reason);
        EXPECT_EQ(readbytes(photo.path), bytes) << c.name;
        EXPECT_EQ(filecount(), files) << c.name;
        EXPECT_FALSE(leftworkingfile()) << c.name;
    }
}

TEST_F(Runs, AReencodingRunUsesItsQualityAndReencodesAsIsRowsUnturned) {
    // Only a re-encoding run with "process all" takes the rows that need no turn.
    EXPECT_TRUE(
        (RunOptions{.uselosslessrotation = false, .normalprocessall = true}).selection().takes(Action::AsIs));
    EXPECT_FALSE((RunOptions{.uselosslessrotation = false}).selection().takes(Action::AsIs));
    EXPECT_FALSE((RunOptions{.normalprocessall = true}).selection().takes(Action::AsIs));

    const WorkList work{row(QStringLiteral("asis.jpg"), Action::AsIs),
                        row(QStringLiteral("cw.jpg"), Action::Rotate90Clockwise)};
    std::vector<QByteArray> bytes;
    for (const PhotoRow& photo : work) {
        writepattern(photo.path, 48, 32);
        bytes.push_back(readbytes(photo.path));
    }
    const Pixels before = decodejpeg(work[0].path);
    const auto reports = run(work, {.uselosslessrotation = false, .normalprocessall = true, .quality = 95});
    ASSERT_EQ(reports.size(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned) << qPrintable(reports[i].reason);
        EXPECT_NE(readbytes(work[i].path), bytes[i]);
        EXPECT_FALSE(isprogressive(work[i].path));                      // re-encoded, not turned losslessly
        EXPECT_EQ(segmentbodies(work[i].path, 0xDB).value(0).at(1), 2); // libjpeg's table at quality 95
        // Quality 95 keeps the chroma whole: the pattern comes back within a few steps.
        EXPECT_LE(maxdifference(decodejpeg(work[i].path), turned(before, work[i].action)), 8);
    }
}

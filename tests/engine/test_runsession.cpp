// Runs over photos in a temporary folder with a data folder of their own: what each photo
// becomes, what survives its turn, what a failing step leaves; and the rewrite under them.

#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "support/othercolours.h"
#include "support/taggedphotos.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

class Runs : public ::testing::Test {
  protected:
    PhotoRow row(const QString& name, Action action = Action::Rotate90Clockwise) const {
        return {name, action, dir.filePath(name)};
    }
    QString upright(const QString& path) const { // orientation and both resolutions, as numbers
        return readtag(path, u"IFD0:Orientation"_s, true) + ' '_L1 +
               readtag(path, u"IFD0:XResolution"_s, true) + ' '_L1 +
               readtag(path, u"IFD0:YResolution"_s, true);
    }
    QStringList files(const QString& folder) const {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden);
    }

    // Runs the session to its end; `stopat` asks it to stop when that photo starts.
    std::vector<PhotoReport> run(const WorkList& work, const RunOptions& options = {},
                                 const QString& toolfile = exiftoolpath(), qint64 stopat = -1) {
        RunSession session(work, options, {data.path(), toolfile});
        QObject::connect(
            &session, &RunSession::photostarted, &session,
            [&](qint64 index, const QString& name) {
                started << u"%1 %2"_s.arg(index).arg(name);
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

    QTemporaryDir dir, data, otherfs{u"/dev/shm/pivotel-XXXXXX"_s};
    QStringList started;
    int finished = 0;
};

} // namespace

TEST_F(Runs, ReportEveryPhotoInOrderTurnTheOnesTheyCanAndStopAfterThePhotoInWork) {
    for (const char* name : {"cw.jpg", "flip.jpg", "after.jpg"})
        writepattern(dir.filePath(QLatin1String(name)), 48, 32);
    writebytes(dir.filePath(u"damaged.jpg"_s), readbytes(dir.filePath(u"cw.jpg"_s)).left(700));
    const Pixels before = decodejpeg(dir.filePath(u"cw.jpg"_s));
    const WorkList work{row(u"cw.jpg"_s), row(u"gone.jpg"_s, Action::Rotate180), row(u"damaged.jpg"_s),
                        row(u"flip.jpg"_s, Action::FlipLeft), row(u"after.jpg"_s)};
    const QByteArray damaged = readbytes(work[2].path), after = readbytes(work[4].path);
    const auto reports = run(work, {}, exiftoolpath(), 3);

    ASSERT_EQ(reports.size(), 4u);
    const PhotoOutcome outcomes[] = {PhotoOutcome::Turned, PhotoOutcome::Missing, PhotoOutcome::Failed,
                                     PhotoOutcome::Turned};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(reports[i].outcome, outcomes[i]) << i;
        EXPECT_EQ(reports[i].index, qint64(i));
        EXPECT_EQ(reports[i].photo.path, work[i].path);
    }
    EXPECT_EQ(started, (QStringList{u"0 cw.jpg"_s, u"1 gone.jpg"_s, u"2 damaged.jpg"_s, u"3 flip.jpg"_s}));
    EXPECT_EQ(finished, 4);
    for (const size_t i : {0, 3})
        EXPECT_LE(maxdifference(decodejpeg(work[i].path), turned(before, work[i].action)), idcttolerance);
    EXPECT_EQ(readbytes(work[2].path), damaged);
    EXPECT_TRUE(reports[2].reason.contains(u"damaged"_s)) << qPrintable(reports[2].reason);
    EXPECT_EQ(readbytes(work[4].path), after);
    EXPECT_EQ(files(data.path()), QStringList{u"xtemp.lock"_s});
}

TEST_F(Runs, ALosslessRunKeepsEveryTagAndTheDatesAskedAndEndsUpright) {
    // A line break can't travel through the long-lived tool's argument stream: that photo's
    // commands go to processes of their own. The other names are odd to the tool's reader.
    const std::tuple<QString, int, Action, int> photos[] = {
        // dpi 0: none at all, which ends as 72
        {u"line\nbreak.jpg"_s, 6, Action::Rotate90Clockwise, 300},
        {u"-dash 'quote' \"\u00E9t\u00E9\".jpg"_s, 8, Action::Rotate90Counterclockwise, 240},
        {u"#hash.jpg"_s, 3, Action::Rotate180, 300},
        {u"mirrored.jpg"_s, 2, Action::FlipLeft, 72},
        {u"bare.jpg"_s, 1, Action::Rotate90Clockwise, 0}};
    const timespec times[2] = {{981173106, 123456789}, {978307200, 987654321}}; // accessed, modified
    WorkList work;
    std::vector<QMap<QString, QString>> tags;
    std::vector<QList<QByteArray>> profiles;
    std::vector<Pixels> pixels;
    for (const auto& [name, orientation, action, dpi] : photos) {
        work.push_back(row(name, action));
        writetaggedphoto(work.back().path, 48, 32, orientation, dpi ? dpi : 72);
        // An orientation in the XMP packet must not say otherwise afterwards.
        writetags(work.back().path,
                  dpi ? QStringList{u"-XMP-tiff:Orientation#=8"_s} : QStringList{u"-all="_s});
        tags.push_back(alltags(work.back().path));
        profiles.push_back(segmentbodies(work.back().path, 0xE2));
        pixels.push_back(decodejpeg(work.back().path));
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(work.back().path).constData(), times, 0), 0);
    }
    const auto reports = run(work, {.preservedates = true});
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        const auto& [name, orientation, action, dpi] = photos[i];
        const QString& path = work[i].path;
        struct stat st {}; // before anything here reads the photo
        ::stat(QFile::encodeName(path).constData(), &st);
        EXPECT_TRUE(st.st_mtim.tv_sec == times[1].tv_sec && st.st_mtim.tv_nsec == times[1].tv_nsec &&
                    st.st_atim.tv_sec == times[0].tv_sec && st.st_atim.tv_nsec == times[0].tv_nsec);
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned)
            << qPrintable(name) << qPrintable(reports[i].reason);
        EXPECT_LE(maxdifference(decodejpeg(path), turned(pixels[i], action)), idcttolerance)
            << qPrintable(name);
        EXPECT_EQ(upright(path), u"1 %1 %1"_s.arg(dpi ? dpi : 72)) << qPrintable(name);
        EXPECT_EQ(segmentbodies(path, 0xE2), profiles[i]) << qPrintable(name);
        const auto after = alltags(path);
        EXPECT_TRUE(!dpi ||
                    after.value(u"XMP-tiff:Orientation"_s) != tags[i].value(u"XMP-tiff:Orientation"_s));
        // What a turn changes, and what describes the file rather than the photo.
        const QStringList changes{u"IFD0:Orientation"_s,     u"File:ImageWidth"_s,     u"File:ImageHeight"_s,
                                  u"File:EncodingProcess"_s, u"Composite:ImageSize"_s, u"SourceFile"_s,
                                  u"XMP-tiff:Orientation"_s};
        for (auto it = tags[i].begin(); it != tags[i].end(); ++it) {
            const bool changed = it.key().startsWith("System:"_L1) || changes.contains(it.key());
            EXPECT_EQ(changed ? it.value() : after.value(it.key(), u"(gone)"_s), it.value())
                << qPrintable(it.key());
        }
        EXPECT_EQ(after.contains(u"IFD0:Make"_s), dpi != 0); // nothing of the photo before
    }
    // The last photo's dump stays until the next run needs the name.
    EXPECT_TRUE(readbytes(data.filePath(u"pexif/1.xml"_s)).contains("bare.jpg"));
}

TEST_F(Runs, WithoutTheToolPhotosAreStillTurnedAndUprightWithTheirOwnResolutionAndNewDates) {
    // The XMP library rewrites the EXIF block from its own copy: the other tags must survive it.
    const QStringList kept{
        u"IFD0:Make"_s,          u"ExifIFD:ExposureTime"_s,           u"ExifIFD:DateTimeOriginal"_s,
        u"Canon:SerialNumber"_s, u"ICC_Profile:ProfileDescription"_s, u"XMP-dc:Title"_s,
        u"IPTC:City"_s};
    const timespec times[2] = {{981173106, 0}, {978307200, 987654321}};
    WorkList work;
    std::vector<QMap<QString, QString>> tags;
    for (const int dpi : {300, 240, 0}) { // 0: none, which ends as 72
        work.push_back(row(u"%1.jpg"_s.arg(dpi)));
        writetaggedphoto(work.back().path, 48, 32, 6, dpi);
        if (!dpi)
            writetags(work.back().path, {u"-EXIF:XResolution="_s, u"-EXIF:YResolution="_s});
        ::utimensat(AT_FDCWD, QFile::encodeName(work.back().path).constData(), times, 0);
        tags.push_back(alltags(work.back().path));
    }
    // A dump of an earlier photo must not outlive its photo, tool or no tool.
    QDir().mkpath(data.filePath(u"pexif"_s));
    writebytes(data.filePath(u"pexif/1.xml"_s), "stale");

    const auto reports = run(work, {}, dir.filePath(u"no-such-tool"_s));
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        EXPECT_NE(QFileInfo(work[i].path).lastModified().toSecsSinceEpoch(), times[1].tv_sec);
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned) << qPrintable(reports[i].reason);
        EXPECT_EQ(decodejpeg(work[i].path).width, 32);
        EXPECT_EQ(upright(work[i].path), u"1 %1 %1"_s.arg(i == 0 ? 300 : i == 1 ? 240 : 72));
        const auto after = alltags(work[i].path);
        for (const QString& tag : kept)
            EXPECT_EQ(after.value(tag), tags[i].value(tag)) << qPrintable(tag);
    }
    EXPECT_FALSE(QFile::exists(data.filePath(u"pexif/1.xml"_s)));
}

TEST_F(Runs, AFailingStepLeavesThePhotoAsItWasAndSaysWhy) {
    const QString dying = writefaketool(dir.filePath(u"dying-tool"_s), "kill -9 $$\n");
    const QString notool = dir.filePath(u"no-such-tool"_s);
    writetaggedphoto(dir.filePath(u"tagged.jpg"_s), 48, 32, 6, 300);
    // Its EXIF block is damaged: the photo turns, but no writer will set its orientation tag.
    writepattern(dir.filePath(u"exif.jpg"_s), 48, 32);
    insertsegment(dir.filePath(u"exif.jpg"_s), 0xE1, QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14));
    writepattern(dir.filePath(u"jpeg.HEIC"_s), 256, 256); // JPEG data that a file dialog let in
    QByteArray garbled = readbytes(dir.filePath(u"jpeg.HEIC"_s));
    writebytes(dir.filePath(u"truncated.jpg"_s), garbled.left(900));
    writebytes(dir.filePath(u"garbled.jpg"_s),
               garbled.replace(garbled.size() / 2, 64, QByteArray(64, '\xFF')));
    writebytes(dir.filePath(u"text.jpg"_s), "hello");
    writecmyk(dir.filePath(u"cmyk.jpg"_s), 16, 16);

    const RunOptions lossless, reencode{.uselosslessrotation = false};
    const std::tuple<QString, QString, RunOptions, QString> cases[] = {
        {u"tagged.jpg"_s, dying, lossless,
         u"the metadata dump failed: the metadata tool stopped unexpectedly"_s},
        {u"exif.jpg"_s, exiftoolpath(), lossless, u"the orientation tag can't be set upright: "_s},
        {u"exif.jpg"_s, notool, lossless, u"(the metadata tool is missing)"_s},
        {u"truncated.jpg"_s, exiftoolpath(), lossless, u""_s},
        {u"garbled.jpg"_s, exiftoolpath(), lossless, u""_s},
        {u"text.jpg"_s, exiftoolpath(), lossless, u""_s},
        {u"truncated.jpg"_s, exiftoolpath(), reencode, u"can't be decoded"_s},
        {u"cmyk.jpg"_s, exiftoolpath(), reencode, u"CMYK"_s},
        {u"jpeg.HEIC"_s, exiftoolpath(), reencode, u"isn't named as a JPEG file"_s}};
    const QStringList before = files(dir.path());
    for (const auto& [name, toolfile, options, says] : cases) {
        const QByteArray bytes = readbytes(dir.filePath(name));
        const auto reports = run({row(name)}, options, toolfile);
        ASSERT_EQ(reports.size(), 1u) << qPrintable(name);
        EXPECT_EQ(reports[0].outcome, PhotoOutcome::Failed) << qPrintable(name);
        EXPECT_TRUE(reports[0].reason.contains(says) && !reports[0].reason.isEmpty())
            << qPrintable(reports[0].reason);
        EXPECT_EQ(readbytes(dir.filePath(name)), bytes) << qPrintable(name);
        EXPECT_EQ(files(dir.path()), before) << qPrintable(name);
        EXPECT_FALSE(QFile::exists(data.filePath(u"xtemp.jpg"_s))) << qPrintable(name);
    }
}

TEST_F(Runs, ARewriteTouchesThePhotoOnlyByACompleteCommitThatKeepsItsPermissionBits) {
    const QString photo = dir.filePath(u"p.jpg"_s);
    EXPECT_FALSE(PhotoRewrite::begin(photo, data.path()));      // missing
    EXPECT_FALSE(PhotoRewrite::begin(dir.path(), data.path())); // a folder
    // The working file lies in the data folder on the photo's file system, else beside the photo.
    for (const QString& datafolder : {data.path(), otherfs.path()}) {
        writebytes(photo, "old content");
        ::chmod(QFile::encodeName(photo).constData(), 0640);
        QString working;
        {
            auto rewrite = PhotoRewrite::begin(photo, datafolder);
            ASSERT_TRUE(rewrite) << qPrintable(rewrite.reason());
            working = rewrite.value()->workingpath();
            EXPECT_EQ(QFileInfo(working).path(), datafolder == data.path() ? datafolder : dir.path());
            EXPECT_FALSE(rewrite.value()->commit()); // a working file that never got content
            writebytes(working, "half");
        } // ended uncommitted
        EXPECT_FALSE(QFile::exists(working));
        EXPECT_EQ(readbytes(photo), "old content");

        auto rewrite = PhotoRewrite::begin(photo, datafolder);
        writebytes(rewrite.value()->workingpath(), "new content");
        EXPECT_EQ(readbytes(photo), "old content");
        ASSERT_TRUE(rewrite.value()->commit());
        EXPECT_EQ(readbytes(photo), "new content");
        struct stat st {};
        EXPECT_EQ(::stat(QFile::encodeName(photo).constData(), &st) == 0 ? st.st_mode & 07777 : 0, 0640u);
        EXPECT_EQ(files(dir.path()), QStringList{u"p.jpg"_s});
    }
    // Nor may a photo that vanished meanwhile come back.
    auto rewrite = PhotoRewrite::begin(photo, data.path());
    writebytes(rewrite.value()->workingpath(), "new content");
    QFile::remove(photo);
    EXPECT_FALSE(rewrite.value()->commit());
    EXPECT_FALSE(QFile::exists(photo));
}

TEST_F(Runs, CleaningLeftoversLeavesTheWorkingFileOfARunStillGoing) {
    const QString photo = dir.filePath(u"p.jpg"_s);
    writebytes(photo, "old content");
    int ready[2], done[2];
    ASSERT_EQ(::pipe(ready) | ::pipe(done), 0);
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0) {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        writebytes(rewrite.value()->workingpath(), "new content");
        (void)!::write(ready[1], &byte, 1);
        (void)!::read(done[0], &byte, 1); // until the parent has tried to clean
        ::_exit(rewrite.value()->commit() ? 0 : 1);
    }
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    cleanleftovers(data.path());
    EXPECT_TRUE(QFile::exists(data.filePath(u"xtemp.jpg"_s)));
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readbytes(photo), "new content");
}

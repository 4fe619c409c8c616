// A run over photos that carry metadata: what survives a turn, and what a failing step leaves.

#include "engine/batchrun.h"
#include "photolist/labels.h"
#include "support/runfixture.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class MetadataRun : public RunFixture {
  protected:
    QString dump() const { return data.filePath(QStringLiteral("pexif/1.xml")); }
};

// Tags a turn changes or that describe the file rather than the photo.
bool mustchange(const QString& tag) {
    static const QStringList changed{
        QStringLiteral("IFD0:Orientation"),    QStringLiteral("File:ImageWidth"),
        QStringLiteral("File:ImageHeight"),    QStringLiteral("File:EncodingProcess"),
        QStringLiteral("Composite:ImageSize"), QStringLiteral("SourceFile"),
    };
    return tag.startsWith(QLatin1String("System:")) || changed.contains(tag);
}

timespec at(time_t seconds, long nanoseconds) {
    timespec time{};
    time.tv_sec = seconds;
    time.tv_nsec = nanoseconds;
    return time;
}

struct stat statof(const QString& path) {
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    return st;
}

} // namespace

TEST_F(MetadataRun, ALosslessRunKeepsEveryTagAndEndsUpright) {
    const struct {
        const char* name;
        int orientation;
        QString label;
        Action action;
        int dpi;
    } photos[] = {
        {"six.jpg", 6, label::rotatecw, Action::Rotate90, 300},
        {"eight.jpg", 8, label::rotateccw, Action::Rotate270, 240},
        {"three.jpg", 3, label::rotate180, Action::Rotate180, 300},
        {"mirrored.jpg", 2, label::flipleft, Action::MirrorHorizontal, 72},
    };
    WorkList work;
    std::vector<QMap<QString, QString>> before;
    std::vector<QByteArray> profiles;
    std::vector<Pixels> pixels;
    for (const auto& p : photos) {
        const QString path = file(QString::fromLatin1(p.name));
        writetaggedphoto(path, 48, 32, p.orientation, p.dpi);
        work.push_back({QString::fromLatin1(p.name), p.label, path});
        before.push_back(alltags(path));
        profiles.push_back(exiftool({QStringLiteral("-b"), QStringLiteral("-ICC_Profile"), path}).toLatin1());
        pixels.push_back(decodejpeg(path));
    }
    ASSERT_GT(before[0].size(), 60);

    const auto reports = run(work);
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        const auto& p = photos[i];
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned)
            << p.name << ": " << reports[i].reason.toStdString();
        const QString path = work[i].path;
        EXPECT_LE(maxdifference(decodejpeg(path), turned(pixels[i], p.action)), idcttolerance) << p.name;

        const auto after = alltags(path);
        EXPECT_EQ(after.value(QStringLiteral("IFD0:Orientation")), QStringLiteral("Horizontal (normal)"))
            << p.name;
        EXPECT_EQ(after.value(QStringLiteral("IFD0:XResolution")), QString::number(p.dpi)) << p.name;
        EXPECT_EQ(after.value(QStringLiteral("IFD0:YResolution")), QString::number(p.dpi)) << p.name;
        for (auto it = before[i].begin(); it != before[i].end(); ++it) {
            if (!mustchange(it.key())) {
                EXPECT_EQ(after.value(it.key(), QStringLiteral("(gone)")), it.value())
                    << p.name << " " << qPrintable(it.key());
            }
        }
        EXPECT_EQ(exiftool({QStringLiteral("-b"), QStringLiteral("-ICC_Profile"), path}).toLatin1(),
                  profiles[i])
            << p.name;
    }
    // The last photo's dump stays until the next run needs the name.
    EXPECT_TRUE(readbytes(dump()).contains("Canon EOS 5D"));
    EXPECT_FALSE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))));
}

TEST_F(MetadataRun, APhotoWithNoResolutionGetsSeventyTwo) {
    const QString path = file(QStringLiteral("bare.jpg"));
    writepattern(path, 48, 32);
    writetags(path, {QStringLiteral("-JFIF:all=")});
    ASSERT_EQ(readtag(path, QStringLiteral("XResolution")), QString());

    const auto reports = run({{QStringLiteral("bare.jpg"), label::rotatecw, path}});
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].outcome, PhotoOutcome::Turned) << reports[0].reason.toStdString();
    EXPECT_EQ(readtag(path, QStringLiteral("IFD0:Orientation"), true), QStringLiteral("1"));
    EXPECT_EQ(readtag(path, QStringLiteral("IFD0:XResolution"), true), QStringLiteral("72"));
    EXPECT_EQ(readtag(path, QStringLiteral("IFD0:YResolution"), true), QStringLiteral("72"));
}

TEST_F(MetadataRun, WithoutTheToolPhotosAreStillTurnedAndUpright) {
    // Each keeps its own resolution, though without the tool the run can't read it; a photo
    // with none gets 72.
    const struct {
        const char* name;
        std::optional<int> dpi;
        const char* after;
    } photos[] = {{"first.jpg", 300, "300"}, {"second.jpg", 240, "240"}, {"none.jpg", std::nullopt, "72"}};
    WorkList work;
    std::vector<Pixels> pixels;
    for (const auto& p : photos) {
        const QString path = file(QString::fromLatin1(p.name));
        if (p.dpi) {
            writetaggedphoto(path, 48, 32, 6, *p.dpi);
        } else {
            writepattern(path, 48, 32);
            writetags(path, {QStringLiteral("-JFIF:all=")});
        }
        work.push_back({QString::fromLatin1(p.name), label::rotatecw, path});
        pixels.push_back(decodejpeg(path));
    }
    // A dump of an earlier photo must not outlive its photo, tool or no tool.
    QDir().mkpath(data.filePath(QStringLiteral("pexif")));
    writebytes(dump(), "stale");

    const auto reports = run(work, {}, dir.filePath(QStringLiteral("no-such-tool")));
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        const auto& p = photos[i];
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned)
            << p.name << ": " << reports[i].reason.toStdString();
        EXPECT_LE(maxdifference(decodejpeg(work[i].path), turned(pixels[i], Action::Rotate90)), idcttolerance)
            << p.name;
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:Orientation"), true), QStringLiteral("1"))
            << p.name;
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:XResolution"), true), QLatin1String(p.after))
            << p.name;
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:YResolution"), true), QLatin1String(p.after))
            << p.name;
    }
    EXPECT_EQ(readtag(work[0].path, QStringLiteral("IFD0:Make")), QStringLiteral("Canon"));
    EXPECT_FALSE(QFile::exists(dump()));
}

TEST_F(MetadataRun, OddNamesGetTheirMetadataStepsToo) {
    // A line break can't travel through the long-lived tool's argument stream: that photo's
    // commands go to processes of their own.
    const QString names[] = {QStringLiteral("line\nbreak.jpg"),
                             QStringLiteral("-dash 'quote' \"\u00E9t\u00E9\".jpg"),
                             QStringLiteral("#hash.jpg")};
    WorkList work;
    for (const QString& name : names) {
        writetaggedphoto(file(name), 48, 32, 6, 300);
        work.push_back({name, label::rotatecw, file(name)});
    }
    const auto reports = run(work);
    ASSERT_EQ(reports.size(), work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Turned)
            << qPrintable(names[i]) << reports[i].reason.toStdString();
        EXPECT_EQ(decodejpeg(work[i].path).width, 32) << qPrintable(names[i]);
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:Orientation"), true), QStringLiteral("1"))
            << qPrintable(names[i]);
        EXPECT_EQ(readtag(work[i].path, QStringLiteral("IFD0:XResolution"), true), QStringLiteral("300"))
            << qPrintable(names[i]);
    }
}

TEST_F(MetadataRun, DatesKeptWithTheOptionOnNewWithItOff) {
    const timespec accessed = at(981173106, 123456789); // 2001-02-03
    const timespec modified = at(978307200, 987654321); // 2001-01-01
    for (const bool preserve : {true, false}) {
        const QString path = file(preserve ? QStringLiteral("kept.jpg") : QStringLiteral("new.jpg"));
        writetaggedphoto(path, 48, 32, 6, 300);
        const timespec times[2] = {accessed, modified};
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
        const time_t started = ::time(nullptr);

        RunOptions options;
        options.preservedates = preserve;
        const auto reports = run({{QStringLiteral("p.jpg"), label::rotatecw, path}}, options);
        ASSERT_EQ(reports.size(), 1u);
        ASSERT_EQ(reports[0].outcome, PhotoOutcome::Turned) << reports[0].reason.toStdString();

        const struct stat after = statof(path); // before anything here reads the photo
        if (preserve) {
            EXPECT_EQ(after.st_mtim.tv_sec, modified.tv_sec);
            EXPECT_EQ(after.st_mtim.tv_nsec, modified.tv_nsec);
            EXPECT_EQ(after.st_atim.tv_sec, accessed.tv_sec);
            EXPECT_EQ(after.st_atim.tv_nsec, accessed.tv_nsec);
        } else {
            EXPECT_GE(after.st_mtim.tv_sec, started);
        }
        EXPECT_EQ(decodejpeg(path).width, 32); // it was rewritten all the same
    }
}

TEST_F(MetadataRun, AFailingStepLeavesThePhotoAsItWasAndSaysWhy) {
    const QString dying = writefaketool(file(QStringLiteral("dying-tool")), "kill -9 $$\n");

    // Its EXIF block is damaged: the photo turns, but no writer will set its orientation tag.
    const QString damaged = file(QStringLiteral("damaged.jpg"));
    writepattern(damaged, 48, 32);
    insertsegment(damaged, 0xE1, QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14));
    const QString tagged = file(QStringLiteral("tagged.jpg"));
    writetaggedphoto(tagged, 48, 32, 6, 300);

    const struct {
        const char* name;
        QString path;
        QString toolfile;
        const char* says;
    } cases[] = {
        {"the tool dies", tagged, dying, "the metadata dump failed: the metadata tool stopped unexpectedly"},
        {"no writer takes the EXIF block", damaged, exiftoolpath(),
         "the orientation tag can't be set upright: "},
    };
    for (const auto& c : cases) {
        const QByteArray bytes = readbytes(c.path);
        const auto reports = run({{QFileInfo(c.path).fileName(), label::rotatecw, c.path}}, {}, c.toolfile);
        ASSERT_EQ(reports.size(), 1u) << c.name;
        EXPECT_EQ(reports[0].outcome, PhotoOutcome::Failed) << c.name;
        EXPECT_TRUE(reports[0].reason.startsWith(QLatin1String(c.says)))
            << c.name << ": " << qPrintable(reports[0].reason);
        EXPECT_EQ(readbytes(c.path), bytes) << c.name;
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 3) << c.name;
        EXPECT_FALSE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg")))) << c.name;
    }
    const auto failures = state.failures();
    ASSERT_EQ(failures.size(), 2u);
    EXPECT_EQ(failures[1].name, QStringLiteral("damaged.jpg"));
}

// pivotel-cli end to end: a real process over a temporary folder of photos.

#include "cli/clirun.h"
#include "support/testphotos.h"

#include <QDir>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

TEST(Cli, AnswersEveryCommandLineAndChangesOnlyThePhotosItTurns) {
    QTemporaryDir dir, data;
    auto top = [&dir](const QString& name) {
        return dir.filePath(name);
    };
    const QString odd = u"-\u00C9t\u00E9 '\u00E0' \"la\" plage.jpg"_s; // needs "--" before it
    const QMap<QString, int> orientations{
        {odd, 8},          {u"eight.jpg"_s, 8},   {u"one.jpg"_s, 1},  {u"plain.jpg"_s, 0},
        {u"six.jpg"_s, 6}, {u"sub/six.jpg"_s, 6}, {u"three.jpg"_s, 3}};
    QMap<QString, QByteArray> photos{{u"notes.jpg"_s, "not a photo"}};
    QDir().mkpath(top(u"sub"_s));
    for (auto it = orientations.begin(); it != orientations.end(); ++it) {
        writepattern(top(it.key()), 48, 32);
        if (it.value())
            writetags(top(it.key()), {u"-n"_s, u"-Orientation=%1"_s.arg(it.value())});
        photos[it.key()] = readbytes(top(it.key()));
    }
    const QString six = top(u"six.jpg"_s), one = top(u"one.jpg"_s), plain = top(u"plain.jpg"_s);
    const QStringList byorientation{odd, u"eight.jpg"_s, u"six.jpg"_s, u"sub/six.jpg"_s, u"three.jpg"_s};
    const timespec old[2] = {{981173106, 0}, {981173106, 123456789}};
    struct Case {
        QStringList arguments;
        int exitcode;
        const char* says; // on standard error
        QString out;
        QStringList changed;
        int dc = 0; // re-encoded: the luminance DC step that tells the quality; 0: lossless, progressive
        int tolerance = idcttolerance;
    };
    std::vector<Case> cases{
        {{u"--json"_s, dir.path()},
         1,
         "notes.jpg: not a readable JPEG photo",
         u"\"turned\": 5"_s,
         byorientation},
        {{u"--dry-run"_s, u"--no-recursive"_s, u"--"_s, dir.path()},
         1,
         "would be",
         u"Rotate 90\u00BA Counterclockwise\t%1\nRotate 90\u00BA Counterclockwise\t%2\nRotate 90\u00BA Clockwise\t%3\nRotate 180\u00BA\t%4\n"_s
             .arg(top(odd), top(u"eight.jpg"_s), six, top(u"three.jpg"_s)),
         {}},
        {{u"--"_s, top(odd)}, 0, "Turned 1 photo", {}, {odd}},
        {{u"--preserve-dates"_s, six}, 0, "Turned 1 photo", {}, {u"six.jpg"_s}},
        {{u"--action=180"_s, one, plain}, 0, "Turned 2 photos", {}, {u"one.jpg"_s, u"plain.jpg"_s}},
        {{u"--action=asis"_s, six}, 0, "Turned 0 photos, skipped 1", {}, {}},
        {{one}, 0, "Turned 0 photos, skipped 1", {}, {}},
        {{six, top(u"nowhere"_s)}, 1, "nowhere: no such file or folder", {}, {u"six.jpg"_s}},
        {{u"--reencode"_s, u"--quality=100"_s, dir.path()},
         1,
         "Re-encoded 5 photos, skipped 2, failed 1",
         {},
         byorientation,
         1,
         8},
        {{u"--reencode"_s, six}, 0, "Re-encoded 1 photo", {}, {u"six.jpg"_s}, 8, 100}, // quality 75
        {{u"--reencode"_s, u"--process-all"_s, u"--quality=10"_s, u"--json"_s, one, plain, six},
         0,
         "Re-encoded 3 photos, skipped 0",
         u"\"turned\": 3"_s,
         {u"one.jpg"_s, u"plain.jpg"_s, u"six.jpg"_s},
         80,
         100},
        {{}, 2, "no photo or folder given", {}, {}},
        {{u"--frobnicate"_s, six}, 2, "unknown option --frobnicate", {}, {}},
        {{u"-r"_s, six}, 2, "unknown option -r", {}, {}},
        {{u"--json=yes"_s, six}, 2, "takes no value", {}, {}},
        {{u"--reencode=yes"_s, six}, 2, "takes no value", {}, {}},
        {{u"--action=90"_s, six}, 2, "--action", {}, {}},
        {{u"--action"_s, six}, 2, "--action", {}, {}},
        {{u"--quality=80"_s, six}, 2, "--quality needs --reencode", {}, {}},
        {{u"--process-all"_s, six}, 2, "--process-all needs --reencode", {}, {}},
        {{u"--reencode"_s, u"--quality"_s, six}, 2, "--quality", {}, {}},
        {{top(u"nowhere"_s)}, 2, "no such file or folder", {}, {}},
        {{top(u"notes.jpg"_s)}, 2, "not a readable JPEG", {}, {}},
    };
    // The window corrects a quality out of range; a command line is refused.
    for (const char* quality : {"9", "101", "0", "-50", "abc", "55.9", "", "1e2"})
        cases.push_back({{u"--reencode"_s, "--quality="_L1 + QLatin1String(quality), six},
                         2,
                         "--quality needs a whole number from 10 to 100",
                         {},
                         {}});
    for (const Case& c : cases) {
        const std::string what = c.arguments.join(u' ').toStdString();
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            writebytes(top(it.key()), it.value());
            ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(top(it.key())).constData(), old, 0), 0);
        }
        const CliResult result = runcli(QStringList{QStringLiteral(PIVOTEL_CLI)} + c.arguments, data.path());
        EXPECT_EQ(result.exitcode, c.exitcode) << what << ": " << qPrintable(result.err);
        EXPECT_TRUE(result.err.contains(QLatin1String(c.says))) << what << ": " << qPrintable(result.err);
        EXPECT_TRUE(result.out.contains(c.out)) << what << ": " << qPrintable(result.out);
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            const QString path = top(it.key());
            ASSERT_EQ(readbytes(path) != it.value(), c.changed.contains(it.key()))
                << what << ": " << qPrintable(it.key());
            if (!c.changed.contains(it.key()))
                continue;
            // Turned as the action or the orientation says, by the way asked, dates kept if asked.
            const Action action = c.arguments.contains(u"--action=180"_s)
                                      ? Action::Rotate180
                                      : actionfororientation(orientations[it.key()]);
            writebytes(dir.filePath(u"before"_s), it.value());
            const Pixels before = decodejpeg(dir.filePath(u"before"_s)), after = decodejpeg(path);
            EXPECT_LE(maxdifference(after, turned(before, action)), c.tolerance) << what;
            for (const Action other : allactions)
                EXPECT_GT(maxdifference(after, turned(before, other)), other == action ? -1 : c.tolerance)
                    << what;
            EXPECT_EQ(isprogressive(path), c.dc == 0) << what;
            EXPECT_EQ(c.dc ? segmentbodies(path, 0xDB).value(0).at(1) : 0, c.dc) << what;
            struct stat st {};
            ::stat(QFile::encodeName(path).constData(), &st);
            EXPECT_EQ(st.st_mtim.tv_nsec == old[1].tv_nsec, c.arguments.contains(u"--preserve-dates"_s))
                << what;
        }
    }
}

// pivotel-cli end to end: a real process over temporary folders of photos, killed at moments
// spread over a run, and on a folder it may not write or a disk that is full.

#include "cli/cliargs.h"
#include "cli/progress.h"
#include "support/killedrewrite.h"
#include "support/taggedphotos.h"
#include "support/uniquefd.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <cctype>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

struct CliResult {
    int exitcode = -1;
    QString out, err;
};

// Runs pivotel-cli (after `runas`, a program that runs it) to its end, its data folder in `datahome`;
// with a `signal`, sent once the first photo is in work; with `settings` added to its environment.
CliResult runcli(const QStringList& arguments, const QString& datahome, const QStringList& runas = {},
                 int signal = 0, const QMap<QString, QString>& settings = {}) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, datahome);
    for (auto it = settings.begin(); it != settings.end(); ++it)
        environment.insert(it.key(), it.value());
    process.setProcessEnvironment(environment);
    const QStringList command = runas + QStringList{QStringLiteral(PIVOTEL_CLI)} + arguments;
    process.start(command.front(), command.mid(1));
    QByteArray err;
    process.setReadChannel(QProcess::StandardError);
    while (signal != 0 && !err.contains("] Rotating") && process.waitForReadyRead(30000))
        err += process.readAllStandardError();
    if (signal != 0)
        ::kill(pid_t(process.processId()), signal);
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(err + process.readAllStandardError())};
}

} // namespace

TEST(Cli, AnswersEveryCommandLineAndChangesOnlyThePhotosItShould) {
    QTemporaryDir dir, data;
    // Photos by a short name: "odd" is "-Été 'à' "la" plage.jpg", which needs "--" before it.
    const QMap<QString, int> orientations{
        {u"odd"_s, 8},   {u"eight"_s, 8}, {u"one"_s, 1},  {u"plain"_s, 0}, {u"six"_s, 6},   {u"sub/six"_s, 6},
        {u"three"_s, 3}, {u"two"_s, 2},   {u"four"_s, 4}, {u"five"_s, 5},  {u"seven"_s, 7}, {u"notes"_s, -1}};
    auto path = [&dir](const QString& name) {
        return dir.filePath(name == "odd"_L1       ? u"-\u00C9t\u00E9 '\u00E0' \"la\" plage.jpg"_s
                            : name == "nowhere"_L1 ? name
                                                   : name + ".jpg"_L1);
    };
    QMap<QString, QByteArray> photos;
    QDir().mkpath(dir.filePath(u"sub"_s));
    for (auto it = orientations.begin(); it != orientations.end(); ++it) {
        writepattern(path(it.key()), 48, 32);
        if (it.value() > 0)
            writetags(path(it.key()), {u"-n"_s, u"-Orientation=%1"_s.arg(it.value())});
        photos[it.key()] = it.value() < 0 ? QByteArray("not a photo") : readbytes(path(it.key()));
    }
    const Pixels original = decodejpeg(path(u"plain"_s)); // every photo's pixels
    QString dryrun;
    for (const char* name : {"odd", "eight", "five", "four", "seven", "six", "three", "two"})
        dryrun += labelof(actionfororientation(orientations[QLatin1String(name)])) + u'\t' +
                  path(QLatin1String(name)) + u'\n';
    const timespec old[2] = {{981173106, 0}, {981173106, 123456789}};
    const char* turnable = "odd eight six sub/six three two four five seven";
    struct Case {
        // DIR is the folder, a short name the photo, "nowhere" a missing one; SIGINT or SIGTERM
        // first: sent while the first photo is in work
        const char* arguments;
        int exitcode;
        const char* says; // on standard error; "": nothing at all
        QString out;
        const char* changed;
        int dc = 0; // re-encoded: the luminance DC step that tells the quality; 0: lossless, progressive
        int tolerance = idcttolerance;
    };
    std::vector<Case> cases{
        {"--json DIR", 1, "notes.jpg: not a readable JPEG photo", u"\"turned\": 9"_s, turnable},
        {"-q six", 0, "", {}, "six"},
        {"--json -q --action ccw six", 0, "", u"\"action\": \"ccw\""_s, "six"},
        {"--json -q --action transverse one", 0, "",
         u"\"actiontext\": \"Rotate 90\u00BA Counterclockwise and Flip Left\""_s, "one"},
        {"--json -q six nowhere", 1, "nowhere: no such file or folder", u"\"code\": \"missing\""_s, "six"},
        {"-v six", 0, "six.jpg: Rotate 90\xBA Clockwise, lossless\n  turning it", {}, "six"},
        {"-q -v six", 2, "--quiet and --verbose", {}, ""},
        {"-h", 0, "", u"Usage: pivotel-cli"_s, ""},
        {"-V", 0, "", u"pivotel-cli 3."_s, ""},
        {"--reencode --quality 100 six", 0, "Re-encoded 1 photo", {}, "six", 1, 8},
        {"--odd-sizes keep --action 180 one", 0, "Turned 1 photo", {}, "one"},
        {"--reencode six --quality", 2, "quality needs a whole number", {}, ""},
        {"-x six", 2, "unknown option -x", {}, ""},
        {"SIGINT DIR", 130, "Stopping after the photos in work", {}, turnable},
        {"SIGTERM --json DIR", 143, "Stopping after the photos in work", u"\"code\": \"stopped\""_s,
         turnable},
        {"--dry-run --no-recursive -- DIR", 1, "would be", dryrun, ""},
        {"-- odd", 0, "Turned 1 photo", {}, "odd"},
        {"--preserve-dates six", 0, "Turned 1 photo", {}, "six"},
        {"--action=180 one plain", 0, "Turned 2 photos", {}, "one plain"},
        {"--action=asis six", 0, "Turned 0 photos, skipped 1", {}, ""},
        {"six nowhere", 1, "nowhere: no such file or folder", {}, "six"},
        {"--reencode --quality=100 DIR", 1, "Re-encoded 9 photos, skipped 2, failed 1", {}, turnable, 1, 8},
        {"--reencode six", 0, "Re-encoded 1 photo", {}, "six", 8, 100}, // quality 75
        {"--reencode --process-all --quality=10 --json one plain six", 0, "Re-encoded 3 photos, skipped 0",
         u"\"turned\": 3"_s, "one plain six", 80, 100},
        {"", 2, "no photo or folder given", {}, ""},
        {"--frobnicate six", 2, "unknown option --frobnicate", {}, ""},
        {"-r six", 2, "unknown option -r", {}, ""},
        {"--json=yes six", 2, "takes no value", {}, ""},
        {"--action=90 six", 2, "--action", {}, ""},
        {"--action six", 2, "--action", {}, ""},
        {"--quality=80 six", 2, "--quality needs --reencode", {}, ""},
        {"--process-all six", 2, "--process-all needs --reencode", {}, ""},
        {"--reencode --quality six", 2, "--quality", {}, ""},
        {"--odd-sizes=keep six", 0, "Turned 1 photo", {}, "six"},
        {"--json -j 1 --memory-limit 1M six", 1, "too large for the memory budget (needs",
         u"\"code\": \"failed\""_s, ""},
        {"--jobs=0 six", 2, "--jobs needs a whole number from 1 to 64", {}, ""},
        {"--memory-limit=lots six", 2, "--memory-limit needs a size such as 800M", {}, ""},
        {"--odd-sizes=crop six", 2, "--odd-sizes needs one of trim, reencode, keep", {}, ""},
        {"--reencode --odd-sizes=trim six", 2, "--odd-sizes is for lossless turns", {}, ""},
        {"nowhere", 2, "no such file or folder", {}, ""},
        {"--json nowhere", 2, "no such file or folder", u"\"message\": \"no JPEG photo to work on\""_s, ""},
        {"--json --frobnicate six", 2, "unknown option --frobnicate", u"\"exitcode\": 2"_s, ""},
        {"notes", 2, "not a readable JPEG", {}, ""}};
    // The window corrects a quality out of range; a command line is refused.
    for (const char* quality : {"9", "101", "0", "-50", "abc", "55.9", "", "1e2"})
        cases.push_back({quality, 2, "--quality needs a whole number from 10 to 100", {}, ""});
    for (const Case& c : cases) {
        QStringList arguments = QString::fromLatin1(c.arguments).split(u' ', Qt::SkipEmptyParts);
        for (QString& argument : arguments)
            argument = argument == "DIR"_L1                                          ? dir.path()
                       : orientations.contains(argument) || argument == "nowhere"_L1 ? path(argument)
                                                                                     : argument;
        if (QByteArray(c.says).startsWith("--quality needs a"))
            arguments = {u"--reencode"_s, "--quality="_L1 + QLatin1String(c.arguments), path(u"six"_s)};
        const int signal = arguments.value(0) == "SIGINT"_L1    ? SIGINT
                           : arguments.value(0) == "SIGTERM"_L1 ? SIGTERM
                                                                : 0;
        if (signal != 0)
            arguments.removeFirst();
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            writebytes(path(it.key()), it.value());
            ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path(it.key())).constData(), old, 0), 0);
        }
        const CliResult result = runcli(arguments, data.path(), {}, signal);
        EXPECT_EQ(result.exitcode, c.exitcode) << qPrintable(result.err);
        EXPECT_TRUE(*c.says ? result.err.contains(QLatin1String(c.says)) : result.err.isEmpty())
            << qPrintable(result.err);
        EXPECT_TRUE(result.out.contains(c.out)) << qPrintable(result.out);
        // Standard output holds the JSON and nothing else, whatever the exit.
        EXPECT_TRUE(!arguments.contains(u"--json"_s) ||
                    QJsonDocument::fromJson(result.out.toUtf8()).isObject());
        const QStringList changed = QString::fromLatin1(c.changed).split(u' ', Qt::SkipEmptyParts);
        int changedcount = 0;
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            const qint64 modified = QFileInfo(path(it.key())).lastModified().toMSecsSinceEpoch();
            const bool waschanged = readbytes(path(it.key())) != it.value();
            // A stopped run finishes the photos in work and leaves the rest as they were.
            if (signal == 0 || waschanged) {
                ASSERT_EQ(waschanged, changed.contains(it.key())) << qPrintable(it.key());
            }
            if (!waschanged)
                continue;
            ++changedcount;
            // Turned as the action or the orientation says, by the way asked, the dates kept if asked.
            const qsizetype given = arguments.indexOf(QRegularExpression(u"--action(=.*)?"_s));
            const Action action = given < 0 ? actionfororientation(orientations[it.key()])
                                  : arguments[given].contains(u'=')
                                      ? *actionfortoken(arguments[given].section(u'=', 1))
                                      : *actionfortoken(arguments.value(given + 1));
            // Any other turn moves the mark, 190 steps off, or reverses a gradient.
            EXPECT_LE(maxdifference(decodejpeg(path(it.key())), turned(original, action)), c.tolerance);
            EXPECT_EQ(isprogressive(path(it.key())), c.dc == 0);
            EXPECT_EQ(c.dc ? segmentbodies(path(it.key()), 0xDB).value(0).at(1) : 0, c.dc);
            EXPECT_EQ(modified == 981173106123, arguments.contains(u"--preserve-dates"_s));
        }
        EXPECT_TRUE(signal == 0 || (changedcount > 0 && result.err.contains(u"Turned "_s)));
    }
}

// Huge pages pay only where a worker turns a second photo in its first one's buffers.
TEST(Cli, OnlyARunWithMorePhotosThanWorkersOrAFolderStartsAgainOnHugePages) {
    QTemporaryDir dir;
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg", "-d.jpg"})
        writebytes(dir.filePath(QString::fromLatin1(name)), "photo");
    QDir(dir.path()).mkpath(u"folder"_s);
    const std::pair<std::vector<const char*>, bool> cases[] = {
        {{"a.jpg"}, false},
        {{"a.jpg", "b.jpg"}, false},
        {{"a.jpg", "b.jpg", "c.jpg"}, true},
        {{"folder"}, true},
        {{"a.jpg", "gone.jpg", "-j", "2", "--quality=90", "b.jpg"}, false},
        {{"a.jpg", "b.jpg", "--", "-d.jpg"}, true},
    };
    for (const auto& [arguments, reuse] : cases) {
        std::vector<QByteArray> held{"pivotel-cli"};
        for (const char* argument : arguments) { // paths in the folder, options as they are
            const bool path = held.back() == "--" || (*argument != '-' && std::isdigit(*argument) == 0);
            held.push_back(path ? QFile::encodeName(dir.filePath(QString::fromLatin1(argument)))
                                : QByteArray(argument));
        }
        std::vector<const char*> argv;
        for (const QByteArray& argument : held)
            argv.push_back(argument.constData());
        EXPECT_EQ(cli::mayreusebuffers(int(argv.size()), argv.data(), 2), reuse) << arguments.size();
    }
}

// The modules' libraries come in only with a run that needs them: the picture check's (OpenCV,
// Tesseract: a third of a phone photo's turn to load) when it looks at pictures, Qt Gui's (4 ms,
// a tenth of a phone photo's turn) when it re-encodes. A missing or broken module is named, and
// the photo is left as it was.
TEST(Cli, EachModuleAndItsLibrariesAreLoadedOnlyWhenARunNeedsIt) {
    QTemporaryDir dir, data;
    const QString photo = dir.filePath(u"p.jpg"_s);
    const QString notamodule = dir.filePath(u"libpivotel-look.so"_s);
    const QString gone = dir.filePath(u"gone.so"_s);
    writebytes(notamodule, "not a library");
    struct Case {
        QStringList arguments;
        const char* variable; // the module named otherwise than the build's, or none
        QString module;
        int exitcode;
        bool look, gui; // whose libraries are loaded
        QString said;
    };
    const Case cases[] = {
        {{u"--action=cw"_s}, nullptr, {}, 0, false, false, {}},
        {{u"--look"_s, u"--dry-run"_s}, nullptr, {}, 0, true, true, u"1 skipped"_s},
        {{u"--reencode"_s, u"--action=cw"_s}, nullptr, {}, 0, false, true, u"Re-encoded 1 photo"_s},
        {{u"--look"_s},
         "PIVOTEL_LOOK_MODULE",
         gone,
         2,
         false,
         false,
         u"the picture check is unavailable: its module %1 is missing"_s.arg(gone)},
        {{u"--look"_s}, "PIVOTEL_LOOK_MODULE", notamodule, 2, false, false,
         u"its module %1 can't be loaded"_s.arg(notamodule)},
        {{u"--reencode"_s, u"--action=cw"_s}, "PIVOTEL_PIXELS_MODULE", gone, 1, false, false,
         u"can't be re-encoded: its module %1 is missing"_s.arg(gone)},
        {{u"--reencode"_s, u"--action=cw"_s}, "PIVOTEL_PIXELS_MODULE", notamodule, 1, false, false,
         u"its module %1 can't be loaded"_s.arg(notamodule)},
    };
    for (const Case& c : cases) {
        writepattern(photo, 48, 32);
        const QByteArray before = readbytes(photo);
        QMap<QString, QString> settings{{u"LD_DEBUG"_s, u"files"_s}};
        if (c.variable)
            settings[QString::fromLatin1(c.variable)] = c.module;
        const CliResult result = runcli(c.arguments + QStringList{photo}, data.path(), {}, 0, settings);
        const QString trace = c.arguments.join(u' ') + u' ' + c.module;
        EXPECT_EQ(result.exitcode, c.exitcode) << qPrintable(trace + u'\n' + result.err.right(2000));
        EXPECT_EQ(result.err.contains(u"file=libopencv_core"_s), c.look) << qPrintable(trace);
        EXPECT_EQ(result.err.contains(u"file=libtesseract"_s), c.look) << qPrintable(trace);
        EXPECT_EQ(result.err.contains(u"file=libQt6Gui"_s), c.gui) << qPrintable(trace);
        EXPECT_TRUE(result.err.contains(c.said)) << qPrintable(trace + u'\n' + result.err.right(2000));
        if (c.exitcode != 0) {
            EXPECT_EQ(readbytes(photo), before) << qPrintable(trace);
        }
    }
}

TEST(Cli, AStopSignalEndsALongScanAtOnce) {
    QTemporaryDir dir, data;
    writepattern(dir.filePath(u"p0.jpg"_s), 16, 16);
    const QByteArray model = QFile::encodeName(dir.filePath(u"p0.jpg"_s));
    for (int i = 1; i < 50000; ++i) // seconds of admission, far longer than the wait below
        ASSERT_EQ(::link(model.constData(), QFile::encodeName(dir.filePath(u"p%1.jpg"_s.arg(i))).constData()),
                  0);
    // A second signal ends it at once, still with a report for a script that asked for one.
    for (const bool second : {false, true}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, data.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(PIVOTEL_CLI),
                      {second ? u"--json"_s : u"-q"_s, u"--dry-run"_s, u"--action=cw"_s, dir.path()});
        ASSERT_TRUE(process.waitForStarted());
        QThread::msleep(200);
        ::kill(pid_t(process.processId()), SIGINT);
        if (second)
            ::kill(pid_t(process.processId()), SIGTERM);
        ASSERT_TRUE(process.waitForFinished(60000));
        const QByteArray out = process.readAllStandardOutput();
        if (second) {
            EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
            EXPECT_TRUE(QJsonDocument::fromJson(out)[u"message"_s].toString().contains(u"second signal"_s))
                << out.constData();
            continue;
        }
        EXPECT_EQ(process.exitCode(), 130);
        // Only the photos taken in before the signal are listed.
        EXPECT_LT(out.count('\n'), 50000);
    }
}

// Whatever a start has to do, it first finishes the rewrite a killed run left (in any slot) and
// removes the metadata dump; a dry run, which changes no photo, says how to finish it instead.
TEST(Cli, EveryStartFinishesARewriteAKilledRunLeftAndADryRunSaysHow) {
    QTemporaryDir dir, data;
    const QString datafolder = data.filePath(u"com.zenthori.pivotel"_s),
                  photo = dir.filePath(u"linked.jpg"_s), upright = dir.filePath(u"upright.jpg"_s),
                  dump = datafolder + u"/pexif/3.xml"_s;
    QDir().mkpath(datafolder + u"/pexif"_s);
    writepattern(upright, 16, 16); // needs no turn
    const struct {
        const char* arguments;
        int exitcode;
        const char* says;
        bool finished;
    } cases[] = {
        {"--action=asis", 0, "Turned 0 photos, skipped 1", true},
        {"", 0, "Turned 0 photos, skipped 1", true},
        {"--dry-run --json", 3, "is pending; run pivotel-cli without --dry-run, or start Pivotel", false}};
    QByteArray fresh;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        writepattern(photo, 48, 32);
        QFile::remove(photo + u"2"_s);
        QFile::link(photo, photo + u"2"_s);
        fresh = killedinplacerewrite(photo, datafolder, 2).second;
        writebytes(dump, "<GPSLatitude>43.2965</GPSLatitude>");
        const QByteArray half = readbytes(photo);
        const CliResult result =
            runcli(QString::fromLatin1(c.arguments).split(u' ', Qt::SkipEmptyParts) << upright, data.path());
        EXPECT_EQ(result.exitcode, c.exitcode);
        EXPECT_TRUE(result.err.contains(QLatin1String(c.says))) << qPrintable(result.err);
        EXPECT_EQ(readbytes(photo), c.finished ? fresh : half);
        EXPECT_FALSE(QFile::exists(dump));
        if (!c.finished) {
            const QJsonDocument report = QJsonDocument::fromJson(result.out.toUtf8());
            EXPECT_EQ(report[u"failed"_s][0][u"path"_s].toString(), photo);
            EXPECT_EQ(report[u"failed"_s][0][u"code"_s].toString(), u"pending"_s);
        }
    }
    // The next start that may change photos finishes what the dry run left.
    EXPECT_EQ(runcli({upright}, data.path()).exitcode, 0);
    EXPECT_EQ(readbytes(photo), fresh);
    EXPECT_EQ(QDir(datafolder).entryList(QDir::Files), QStringList{u"xtemp3.lock"_s});
}

// A folder scan names what it meets that is not a photo to read by what it is, as given on the
// command line.
TEST(Cli, AFolderScanSaysWhatABrokenLinkOrAPathTooLongIs) {
    QTemporaryDir dir, data;
    QFile::link(dir.filePath(u"nowhere.jpg"_s), dir.filePath(u"dangling.jpg"_s));
    QFile::link(dir.filePath(u"loop.jpg"_s), dir.filePath(u"loop.jpg"_s));
    // Folders down to near the longest path, and a photo whose path is longer.
    QString deep = dir.path();
    while (deep.size() + 201 < PATH_MAX - 1) {
        deep += u'/' + QString(200, u'd');
        const QByteArray folder = QFile::encodeName(deep);
        ASSERT_EQ(::mkdir(folder.constData(), 0755), 0);
    }
    const QString toolong = deep + u'/' + QString(250, u'p') + u".jpg"_s;
    const QByteArray name = QByteArray(250, 'p') + ".jpg";
    const UniqueFd at(::open(QFile::encodeName(deep).constData(), O_RDONLY | O_DIRECTORY));
    ASSERT_TRUE(UniqueFd(::openat(at.get(), name.constData(), O_CREAT | O_WRONLY, 0644)).valid());
    const CliResult result = runcli({u"--json"_s, u"--dry-run"_s, dir.path()}, data.path());
    EXPECT_EQ(result.exitcode, 2);
    QMap<QString, QString> failed;
    for (const QJsonValue entry : QJsonDocument::fromJson(result.out.toUtf8())[u"failed"_s].toArray())
        failed[entry[u"path"_s].toString()] =
            entry[u"code"_s].toString() + u": "_s + entry[u"reason"_s].toString();
    EXPECT_EQ(failed, (QMap<QString, QString>{
                          {dir.filePath(u"dangling.jpg"_s), u"missing: a symbolic link to nothing"_s},
                          {dir.filePath(u"loop.jpg"_s),
                           u"unreadable: it can't be read (Too many levels of symbolic links)"_s},
                          {toolong, u"unreadable: it can't be read (File name too long)"_s}}));
    ::unlinkat(at.get(), name.constData(), 0); // which the temporary folder's removal can't reach
}

TEST(Cli, ProgressSaysRateAndTimeLeftAndCompletionKnowsEveryOption) {
    // done, total, ms elapsed at the last photo's start, ms since: rate, time left
    const std::tuple<int, int, int, int, const char*, const char*> cases[] = {
        {0, 10, 0, 500, "", ""},
        {4, 10, 2000, 100, "2.0 photos/s", "0:02 left"},
        {2, 3, 10000, 9000, "5.0 s/photo", "0:00 left"},
        {1, 1000, 4000, 0, "4.0 s/photo", "1:06:36 left"}};
    for (const auto& [done, total, elapsed, since, rate, left] : cases) {
        EXPECT_EQ(cli::ratetext(done, elapsed), QLatin1String(rate));
        EXPECT_EQ(cli::timelefttext(done, total, elapsed, since), QLatin1String(left));
    }
    // The bash completion offers every option of the help.
    const QString completion = QString::fromUtf8(readbytes(QStringLiteral(PIVOTEL_COMPLETION)));
    for (const QRegularExpressionMatch& option :
         QRegularExpression(u"--[a-z-]+"_s).globalMatch(cli::usagetext()))
        EXPECT_TRUE(completion.contains(QRegularExpression(option.captured() + u"\\s"_s)))
            << qPrintable(option.captured());
}

// Every photo must be whole after each kill, the original or the turned one, and the next start
// clears what the killed run left. The parameter puts the data folder on the photos' file system
// (the working file in it) or on another (the working files beside the photos). PIVOTEL_STRESS=1
// (the "stress" label) kills many more times.
class Killed : public ::testing::TestWithParam<bool> {};

TEST_P(Killed, EveryPhotoStaysWhole) {
    QTemporaryDir photos,
        datahome(GetParam() ? u"/dev/shm/pivotel-XXXXXX"_s : QDir::tempPath() + u"/p-XXXXXX"_s);
    const int photocount = 30, kills = qEnvironmentVariableIntValue("PIVOTEL_STRESS") == 1 ? 16 : 3;
    std::vector<std::pair<QByteArray, Pixels>> kinds; // the original, and the turned one as it must decode
    // Neighbours differ, so that no photo can take another's place unseen.
    for (const auto& [orientation, action] :
         {std::pair{6, Action::Rotate90Clockwise}, {3, Action::Rotate180}}) {
        writetaggedphoto(datahome.filePath(u"t.jpg"_s), 320, 240, orientation, 300);
        kinds.emplace_back(readbytes(datahome.filePath(u"t.jpg"_s)),
                           turned(decodejpeg(datahome.filePath(u"t.jpg"_s)), action));
    }
    QFile::remove(datahome.filePath(u"t.jpg"_s));
    auto photo = [&photos](int i) {
        return photos.filePath(u"photo %1.jpg"_s.arg(i, 2, 10, '0'_L1));
    };
    // How many photos are turned; fails for one neither the original nor a whole turned JPEG.
    auto checkwhole = [&](const std::string& when) {
        int turnedcount = 0;
        for (int i = 0; i < photocount; ++i) {
            const auto& [original, upright] = kinds[size_t(i) % kinds.size()];
            if (readbytes(photo(i)) == original)
                continue;
            // decodejpeg throws for a JPEG that isn't whole
            EXPECT_NO_THROW(EXPECT_LE(maxdifference(decodejpeg(photo(i)), upright), idcttolerance))
                << when << ": photo " << i;
            ++turnedcount;
        }
        return turnedcount;
    };
    // The user's own files, hidden ones too, are never taken for leftovers.
    const QStringList mine{u".photo 00.pivotel-xtemp"_s, u".photo 00.jpg.pivotel-xtemp-notes"_s};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, datahome.path());
    for (int round = 0; round < kills; ++round) {
        for (const QString& name : QDir(photos.path()).entryList(QDir::Files | QDir::Hidden))
            QFile::remove(photos.filePath(name));
        for (int i = 0; i < photocount; ++i)
            writebytes(photo(i), kinds[size_t(i) % kinds.size()].first);
        for (const QString& name : mine)
            writebytes(photos.filePath(name), "mine");
        // The photo in work at the kill, spread over the list, and how far into it.
        const int target = 1 + round * (photocount - 2) / kills;
        const QByteArray announced = u"[%1/%2]"_s.arg(target + 1).arg(photocount).toUtf8();
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setReadChannel(QProcess::StandardError);
        process.start(QStringLiteral(PIVOTEL_CLI), {u"-j2"_s, photos.path()});
        QByteArray progress;
        while (!progress.contains(announced) && process.waitForReadyRead(30000))
            progress += process.readAllStandardError();
        QThread::msleep((round * 17) % 70);
        process.kill();
        process.waitForFinished(30000);
        ASSERT_TRUE(progress.contains(announced)) << "round " << round << ": " << progress.constData();
        // Every photo before the two in work was finished when the later was announced.
        EXPECT_GE(checkwhole("after the kill at photo " + std::to_string(target)), target - 1) << round;
    }
    const CliResult last = runcli({photos.path()}, datahome.path());
    EXPECT_EQ(last.exitcode, 0) << qPrintable(last.err);
    EXPECT_EQ(checkwhole("after the last run"), photocount);
    for (int i = 0; i < photocount; ++i)
        EXPECT_EQ(readtag(photo(i), u"IFD0:Orientation"_s, true), u"1"_s) << i;
    // Nothing of the killed runs is left: not beside the photos, not in the data folder.
    EXPECT_EQ(QDir(photos.path()).entryList(QDir::Files | QDir::Hidden).size(), photocount + mine.size());
    const QDir data(datahome.filePath(u"com.zenthori.pivotel"_s));
    EXPECT_EQ(data.entryList(QDir::Files | QDir::Hidden), data.entryList({u"xtemp*.lock"_s}, QDir::Files));
}

INSTANTIATE_TEST_SUITE_P(DataFolder, Killed, ::testing::Values(false, true), [](const auto& info) {
    return info.param ? "OnAnotherFileSystem" : "BesideThePhotos";
});

// Two photos in a folder pivotel-cli may not write, on a full disk (in a mount namespace of this
// test process alone), or protected by their owner: both fail, are named with the reason, and stay
// as they were, dates included. Root turns another user's photos, whose owner and mode stay.
TEST(DiskFailures, LeaveEveryPhotoAndSaySo) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "runs pivotel-cli as another user and mounts file systems, which needs root";
    ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    QTemporaryDir top, elsewhere;
    // Made here: the tests' metadata tool started before the disks were mounted and doesn't see them.
    writetaggedphoto(top.filePath(u"p.jpg"_s), 400, 300, 6, 300);
    const QByteArray bytes = readbytes(top.filePath(u"p.jpg"_s));
    const QStringList names{u"photo 0.jpg"_s, u"photo 1.jpg"_s};
    const QStringList nobody{u"setpriv"_s, u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s,
                             u"--"_s};
    const timespec old[2] = {{981173106, 0}, {981173106, 0}};
    const struct {
        bool ondisk, dataondisk; // on a disk, the data folder on it (else beside the photo)
        qint64 copies;           // copies of a photo there is room for
        mode_t folder, photos;
        uid_t owner;     // the photos'
        bool asnobody;   // pivotel-cli runs as nobody, who can't give a file away
        const char* why; // "": turned
    } cases[] = {
        {false, false, 0, 0555, 0644, 0, true, "its folder can't be written (Permission denied)"},
        {true, true, 0, 0777, 0644, 0, false, "No space left on device"},
        {true, false, 0, 0777, 0644, 0, false, "No space left on device"},
        {true, true, 1, 0777, 0644, 0, false, "can't be set upright"}, // room for the working file only
        {false, false, 0, 0777, 0444, 0, false, "the photo is read-only"},
        {false, false, 0, 0777, 0644, 0, true, "belongs to another user"},
        {false, false, 0, 0777, 0640, 65534, false, ""}};
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const QString disk = top.filePath(u"disk%1"_s.arg(n++)), folder = disk + u"/photos"_s;
        // Each case's own, made by the user that runs it.
        const QString datahome = c.dataondisk ? disk + u"/data"_s : elsewhere.filePath(u"home%1"_s.arg(n));
        QDir().mkpath(disk);
        ASSERT_TRUE(!c.ondisk ||
                    ::mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=4m") == 0);
        QDir().mkpath(folder);
        for (const QString& name : names) {
            const QByteArray path = QFile::encodeName(folder + '/'_L1 + name);
            writebytes(folder + '/'_L1 + name, bytes);
            ASSERT_EQ(::chown(path.constData(), c.owner, c.owner) | ::chmod(path.constData(), c.photos) |
                          ::utimensat(AT_FDCWD, path.constData(), old, 0),
                      0);
        }
        struct statvfs fs {};
        ::statvfs(QFile::encodeName(disk).constData(), &fs);
        if (c.ondisk)
            writebytes(disk + u"/filler"_s, QByteArray(qint64(fs.f_bavail * fs.f_frsize) - 16 * 1024 -
                                                           c.copies * (bytes.size() + 8 * 1024),
                                                       'f'));
        QDir().mkpath(datahome);
        for (const QString& place : {top.path(), disk, elsewhere.path(), datahome})
            ::chmod(QFile::encodeName(place).constData(), 0777);
        ::chmod(QFile::encodeName(folder).constData(), c.folder);
        // One photo at a time: the room left is for one photo's files.
        const CliResult run =
            runcli({u"--json"_s, u"-j1"_s, folder}, datahome, c.asnobody ? nobody : QStringList());
        const bool turned = !*c.why;
        EXPECT_EQ(run.exitcode, turned ? 0 : 1) << qPrintable(run.err);
        const QJsonArray failed = QJsonDocument::fromJson(run.out.toUtf8())[u"failed"_s].toArray();
        EXPECT_EQ(failed.size(), turned ? 0 : 2) << qPrintable(run.err);
        for (const QJsonValue& entry : failed)
            EXPECT_TRUE(entry[u"reason"_s].toString().contains(QLatin1String(c.why)))
                << qPrintable(entry[u"reason"_s].toString());
        EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), names);
        for (const QString& name : names) {
            struct stat st {};
            ::stat(QFile::encodeName(folder + '/'_L1 + name).constData(), &st);
            EXPECT_EQ(readbytes(folder + '/'_L1 + name) == bytes, !turned);
            EXPECT_EQ(st.st_mtim.tv_sec == old[1].tv_sec, !turned);
            // Refused before its turn reads it; root looks at it without touching its access time.
            if (c.photos == 0444) {
                EXPECT_EQ(st.st_atim.tv_sec, old[0].tv_sec);
            }
            EXPECT_EQ(st.st_uid, c.owner);
            EXPECT_EQ(st.st_gid, c.owner);
            EXPECT_EQ(st.st_mode & 07777, c.photos);
        }
        const QDir own(datahome + u"/com.zenthori.pivotel"_s);
        EXPECT_TRUE(own.entryList({u"xtemp.jpg"_s, u"xtemp.beside"_s}).isEmpty());
        ::chmod(QFile::encodeName(folder).constData(), 0755);
        if (c.ondisk)
            ::umount2(QFile::encodeName(disk).constData(), MNT_DETACH);
    }
}

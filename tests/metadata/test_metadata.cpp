#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "metadata/startengine.h"
#include "support/taggedphotos.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

static const ToolMode bothmodes[] = {ToolMode::StayOpen, ToolMode::OneShot};

TEST(ExifTool, OddPathsReachTheToolUnchangedAndAnOutputLargerThanAPipeIsReadWhole) {
    QTemporaryDir dir;
    const QStringList names =
        u"with blank.jpg|quote's \"double\".jpg|\u00C9t\u00E9 \u65E5\u672C.jpg|-leading dash.jpg|--|"
        "#hash.jpg| leading blank.jpg|trailing blank.jpg |tab\there.jpg|-execute1|"
        "back\\slash $status ${status}.jpg|line\nbreak.jpg|carriage\rreturn.jpg|ends in a line break\n"_s
            .split(u'|');
    for (const QString& name : names)
        writepattern(dir.filePath(name), 16, 16);
    const QString big = dir.filePath(u"big"_s);
    writepattern(big, 16, 16);
    writebytes(big + u".txt"_s, QByteArray(2 * 1024 * 1024, 'x')); // far beyond a pipe's 64 kB
    writetags(big, {"-Comment<="_L1 + big + u".txt"_s});
    for (const ToolMode mode : bothmodes) {
        ExifTool tool(exiftoolpath(), mode);
        for (const QString& name : names) {
            const QString comment = u"seen %1"_s.arg(int(mode)), path = dir.filePath(name);
            const ToolResult written =
                tool.run({path, "-Comment="_L1 + comment, u"-overwrite_original_in_place"_s});
            EXPECT_TRUE(written.ok()) << int(mode) << qPrintable(name) << qPrintable(written.failuretext());
            const ToolResult read = tool.run({u"-s3"_s, u"-Comment"_s, path});
            EXPECT_EQ(QString::fromUtf8(read.out), comment + '\n'_L1) << int(mode) << qPrintable(name);
        }
        const ToolResult dump = tool.run({u"-X"_s, u"-struct"_s, big});
        EXPECT_GT(dump.out.size(), 2 * 1024 * 1024) << int(mode);
        EXPECT_TRUE(dump.ok() && dump.out.trimmed().endsWith("</rdf:RDF>")) << int(mode);
    }
    // Nothing else appeared: each path named the file it was meant to.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), names.size() + 2);
}

TEST(ExifTool, OneProcessServesEveryCommandAFailureIsNoWarningAndItIsReplacedWhenItDies) {
    QTemporaryDir dir;
    const QString photo = dir.filePath(u"p.jpg"_s);
    writepattern(photo, 16, 16);
    ExifTool tool(exiftoolpath(), ToolMode::StayOpen);
    const ToolResult failed = tool.run({u"-s3"_s, u"-Make"_s, dir.filePath(u"missing.jpg"_s)});
    const qint64 pid = tool.processid();
    ASSERT_NE(pid, 0);
    const ToolResult warned = tool.run({u"-s3"_s, u"-Make"_s, photo, photo});
    EXPECT_TRUE(failed.exitcode == 1 && failed.out.isEmpty()) << failed.out.constData();
    EXPECT_EQ(failed.failuretext(), u"File not found"_s);
    EXPECT_TRUE(warned.ok()) << warned.err.constData();
    EXPECT_TRUE(tool.run({u"-ver"_s}).err.isEmpty());
    EXPECT_EQ(tool.processid(), pid);

    // Commands sent ahead are answered each with its own output; one never collected (the
    // writers' preload among them) leaks into none, and the preload changes no file.
    const QByteArray before = readbytes(photo);
    const ExifTool::Sent make = tool.send({u"-s3"_s, u"-FileName"_s, photo});
    tool.preload({u"-if"_s, u"0"_s, u"-Comment=x"_s, photo});
    tool.preload({u"-Comment=twice"_s, u"-overwrite_original_in_place"_s, photo}); // once a process
    const ExifTool::Sent skipped = tool.send({u"-ver"_s});
    const ExifTool::Sent last = tool.send({u"-s3"_s, u"-ImageWidth"_s, photo});
    // Each reaches the tool when sent, not when its answer is asked for: this one's file appears
    // with nothing collected, and then every answer is in the pipes when the first is read.
    const QString ahead = dir.filePath(u"ahead.jpg"_s);
    const ExifTool::Sent written = tool.send({u"-o"_s, ahead, u"-Comment=ahead"_s, photo});
    for (QDeadlineTimer deadline(30000); !QFile::exists(ahead) && !deadline.hasExpired();)
        QThread::msleep(20);
    EXPECT_TRUE(QFile::exists(ahead));
    EXPECT_EQ(tool.collect(make).out, "p.jpg\n");
    EXPECT_EQ(tool.collect(last).out, "16\n");
    EXPECT_TRUE(tool.collect(written).ok());
    EXPECT_FALSE(tool.collect(skipped).started);
    EXPECT_EQ(readbytes(photo), before);

    ::kill(pid_t(pid), SIGKILL);
    for (QFile stat(u"/proc/%1/stat"_s.arg(pid));
         stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z "); stat.close())
        QThread::msleep(5); // until it is dead, a zombie or gone
    const ToolResult after = tool.run({u"-s3"_s, u"-FileName"_s, photo});
    EXPECT_EQ(after.out, "p.jpg\n") << qPrintable(after.failuretext());
    EXPECT_TRUE(tool.processid() != 0 && tool.processid() != pid);
}

TEST(ExifTool, AToolThatHangsDiesOrIsMissingIsAFailureWithAReason) {
    QTemporaryDir dir;
    // Hangs the first time it is started, and is the real tool after that.
    const QByteArray flag = QFile::encodeName(dir.filePath(u"hung-once"_s));
    const QString hangs =
        writefaketool(dir.filePath(u"hangs"_s), "if [ ! -e '" + flag + "' ]; then touch '" + flag +
                                                    "'; exec sleep 60; fi\nexec '" +
                                                    QFile::encodeName(exiftoolpath()) + "' \"$@\"\n");
    const QString dies = writefaketool(dir.filePath(u"dies"_s), "echo 'Error: gone' >&2\nkill -9 $$\n");
    // The tool, what its failure says, and whether the next command runs in a new process.
    const std::tuple<QString, QString, bool> cases[] = {
        {hangs, u"the metadata tool did not answer in time"_s, true},
        {dies, u"the metadata tool stopped unexpectedly"_s, false},
        {dir.filePath(u"no-such-tool"_s), u"the metadata tool could not be started"_s, false}};
    for (const auto& [toolfile, says, nextok] : cases) {
        for (const ToolMode mode : bothmodes) {
            QFile::remove(QFile::decodeName(flag));
            ExifTool tool(toolfile, mode, 3000);
            const ToolResult result = tool.run({u"-ver"_s});
            EXPECT_FALSE(result.ok());
            EXPECT_EQ(result.failuretext(), says) << int(mode);
            EXPECT_EQ(tool.processid(), 0) << int(mode);
            EXPECT_EQ(tool.run({u"-ver"_s}).ok(), nextok) << qPrintable(says) << int(mode);
        }
    }
}

TEST(StartEngine, RunsTheToolWithVerWithoutWaitingAndSkipsAMissingOne) {
    QTemporaryDir dir;
    const QString seen = dir.filePath(u"arguments"_s), released = dir.filePath(u"released"_s);
    // The tool notes its arguments, then waits until the test lets it go: startengine must have
    // returned long before. It says when it ends, so that it never outlives the folder.
    const QString tool =
        writefaketool(dir.filePath(u"exiftool"_s),
                      u"echo \"$@\" > '%1.part' && mv '%1.part' '%1'\n"
                      "while [ ! -e '%2' ]; do sleep 0.05; done\ntouch '%2.done'\n"_s.arg(seen, released)
                          .toUtf8());
    EXPECT_FALSE(startengine(dir.filePath(u"missing/exiftool"_s)));
    EXPECT_TRUE(startengine(tool));
    writebytes(released, "go"); // only reached because startengine didn't wait
    for (QDeadlineTimer deadline(30000); !QFile::exists(released + ".done"_L1) && !deadline.hasExpired();)
        QThread::msleep(20);
    EXPECT_EQ(readbytes(seen), "-ver\n");
}

// A dump by a dying tool fails the photo's turn: tests/engine.
TEST(ExifTransplant, DumpsThePhotoAndNothingForAMissingOne) {
    QTemporaryDir dir;
    const QString photo = dir.filePath(u"tagged.jpg"_s);
    writetaggedphoto(photo, 16, 16, 6, 300);
    ExifTool tool(exiftoolpath());
    ExifTransplant transplant(tool, dir.filePath(u"pexif"_s));
    EXPECT_TRUE(transplant.extractexiftofile(dir.filePath(u"gone.jpg"_s)));
    EXPECT_EQ(readbytes(transplant.dumpfile()), "\n"); // nothing to copy later
    ASSERT_TRUE(transplant.extractexiftofile(photo));
    // The tool's text and a line end.
    EXPECT_TRUE(readbytes(transplant.dumpfile()).endsWith("</rdf:RDF>\n\n"));
}

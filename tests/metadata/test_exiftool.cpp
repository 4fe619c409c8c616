#include "metadata/exiftool.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

const ToolMode bothmodes[] = {ToolMode::StayOpen, ToolMode::OneShot};

const char* modename(ToolMode mode) {
    return mode == ToolMode::StayOpen ? "stay-open" : "one-shot";
}

// Waits until the process has died (a zombie or gone), so that what follows doesn't race it.
void waitfordeath(qint64 pid) {
    for (;;) {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            return;
        const QByteArray fields = stat.readAll();
        const qsizetype close = fields.lastIndexOf(')');
        if (close < 0 || fields.mid(close + 2, 1) == "Z")
            return;
        QThread::msleep(5);
    }
}

} // namespace

TEST(ExifTool, OddPathsReachTheToolUnchanged) {
    QTemporaryDir dir;
    const QString names[] = {
        QStringLiteral("with blank.jpg"),
        QStringLiteral("quote's \"double\".jpg"),
        QStringLiteral("\u00C9t\u00E9 \u00E0 la plage \u65E5\u672C.jpg"),
        QStringLiteral("-leading dash.jpg"),
        QStringLiteral("--"),
        QStringLiteral("#hash.jpg"),
        QStringLiteral(" leading blank.jpg"),
        QStringLiteral("trailing blank.jpg "),
        QStringLiteral("tab\there.jpg"),
        QStringLiteral("back\\slash $status ${status}.jpg"),
        QStringLiteral("-execute1"),
        QStringLiteral("line\nbreak.jpg"),
        QStringLiteral("carriage\rreturn.jpg"),
        QStringLiteral("ends in a line break.jpg\n"),
    };
    for (const QString& name : names)
        writepattern(dir.filePath(name), 16, 16);

    for (const ToolMode mode : bothmodes) {
        ExifTool tool(exiftoolpath(), mode);
        for (const QString& name : names) {
            const QString path = dir.filePath(name);
            const QString comment = QStringLiteral("seen ") + QString::number(int(mode));
            const ToolResult written = tool.run({path, QStringLiteral("-Comment=") + comment,
                                                 QStringLiteral("-overwrite_original_in_place")});
            EXPECT_TRUE(written.ok())
                << modename(mode) << " " << qPrintable(name) << ": " << written.failuretext().toStdString();
            const ToolResult read = tool.run({QStringLiteral("-s3"), QStringLiteral("-Comment"), path});
            EXPECT_EQ(QString::fromUtf8(read.out), comment + QLatin1Char('\n'))
                << modename(mode) << " " << qPrintable(name);
        }
    }
    // Nothing else appeared: each path named the file it was meant to.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), qsizetype(std::size(names)));
}

TEST(ExifTool, OneProcessServesEveryCommandAndKeepsEachCommandsResultApart) {
    QTemporaryDir dir;
    const QString photo = dir.filePath(QStringLiteral("p.jpg"));
    writepattern(photo, 16, 16);
    writetags(photo, {QStringLiteral("-Make=First")});
    const QString missing = dir.filePath(QStringLiteral("missing.jpg"));

    ExifTool tool(exiftoolpath(), ToolMode::StayOpen);
    const ToolResult first = tool.run({QStringLiteral("-s3"), QStringLiteral("-Make"), photo});
    const qint64 pid = tool.processid();
    ASSERT_NE(pid, 0);
    const ToolResult failed = tool.run({QStringLiteral("-s3"), QStringLiteral("-Make"), missing});
    const ToolResult warned = tool.run({QStringLiteral("-s3"), QStringLiteral("-Make"), photo, photo});
    const ToolResult last = tool.run({QStringLiteral("-s3"), QStringLiteral("-Make"), photo});

    EXPECT_TRUE(first.ok());
    EXPECT_EQ(first.out, QByteArray("First\n"));
    EXPECT_TRUE(first.err.isEmpty());

    EXPECT_TRUE(failed.ran());
    EXPECT_EQ(failed.exitcode, 1);
    EXPECT_TRUE(failed.out.isEmpty());
    EXPECT_TRUE(failed.err.contains("File not found")) << failed.err.constData();
    EXPECT_EQ(failed.failuretext(), QStringLiteral("File not found"));

    EXPECT_TRUE(warned.ok()) << warned.err.constData();
    EXPECT_TRUE(last.ok());
    EXPECT_EQ(last.out, QByteArray("First\n"));
    EXPECT_TRUE(last.err.isEmpty()) << last.err.constData();
    EXPECT_EQ(tool.processid(), pid);
}

TEST(ExifTool, AnOutputLargerThanAPipeIsReadWhole) {
    QTemporaryDir dir;
    const QString photo = dir.filePath(QStringLiteral("big.jpg"));
    writepattern(photo, 16, 16);
    // A comment of 2 MB, far beyond a pipe's 64 kB, in the tool's dump.
    const QString comment = QString(2 * 1024 * 1024, QLatin1Char('x'));
    writebytes(dir.filePath(QStringLiteral("comment.txt")), comment.toLatin1());
    writetags(photo, {QStringLiteral("-Comment<=") + dir.filePath(QStringLiteral("comment.txt"))});
    for (const ToolMode mode : bothmodes) {
        ExifTool tool(exiftoolpath(), mode);
        const ToolResult dump = tool.run({QStringLiteral("-X"), QStringLiteral("-struct"), photo});
        ASSERT_TRUE(dump.ok()) << modename(mode);
        EXPECT_GT(dump.out.size(), 2 * 1024 * 1024) << modename(mode);
        EXPECT_TRUE(dump.out.trimmed().endsWith("</rdf:RDF>")) << modename(mode);
    }
}

TEST(ExifTool, AProcessThatDiedIsReplaced) {
    QTemporaryDir dir;
    const QString photo = dir.filePath(QStringLiteral("p.jpg"));
    writepattern(photo, 16, 16);
    ExifTool tool(exiftoolpath(), ToolMode::StayOpen);
    ASSERT_TRUE(tool.run({QStringLiteral("-ver")}).ok());
    const qint64 first = tool.processid();
    ::kill(pid_t(first), SIGKILL);
    waitfordeath(first);

    const ToolResult after = tool.run({QStringLiteral("-s3"), QStringLiteral("-FileName"), photo});
    EXPECT_TRUE(after.ok()) << after.failuretext().toStdString();
    EXPECT_EQ(after.out, QByteArray("p.jpg\n"));
    EXPECT_NE(tool.processid(), 0);
    EXPECT_NE(tool.processid(), first);
}

TEST(ExifTool, ACommandThatHangsIsEndedAndTheNextOneRunsInANewProcess) {
    QTemporaryDir dir;
    // Hangs the first time it is started, and is the real tool after that.
    const QString flag = dir.filePath(QStringLiteral("hung-once"));
    const QString tool = writefaketool(dir.filePath(QStringLiteral("tool")),
                                       "if [ ! -e '" + QFile::encodeName(flag) + "' ]; then touch '" +
                                           QFile::encodeName(flag) + "'; exec sleep 60; fi\nexec '" +
                                           QFile::encodeName(exiftoolpath()) + "' \"$@\"\n");
    for (const ToolMode mode : bothmodes) {
        QFile::remove(flag);
        ExifTool exiftool(tool, mode, 3000);
        const ToolResult hung = exiftool.run({QStringLiteral("-ver")});
        EXPECT_TRUE(hung.started) << modename(mode);
        EXPECT_TRUE(hung.timedout) << modename(mode);
        EXPECT_FALSE(hung.ok()) << modename(mode);
        EXPECT_EQ(hung.failuretext(), QStringLiteral("the metadata tool did not answer in time"));
        EXPECT_EQ(exiftool.processid(), 0) << modename(mode);

        const ToolResult next = exiftool.run({QStringLiteral("-ver")});
        EXPECT_TRUE(next.ok()) << modename(mode) << next.failuretext().toStdString();
    }
}

TEST(ExifTool, AToolThatDiesOrIsMissingIsAFailureWithAReason) {
    QTemporaryDir dir;
    const QString dying =
        writefaketool(dir.filePath(QStringLiteral("dying")), "echo 'Error: gone' >&2\nkill -9 $$\n");
    const QString nowhere = dir.filePath(QStringLiteral("no-such-tool"));
    const struct {
        QString toolfile;
        ToolMode mode;
        const char* says;
    } cases[] = {
        {dying, ToolMode::StayOpen, "stopped unexpectedly"},
        {dying, ToolMode::OneShot, "stopped unexpectedly"},
        {nowhere, ToolMode::StayOpen, "could not be started"},
        {nowhere, ToolMode::OneShot, "could not be started"},
    };
    for (const auto& c : cases) {
        ExifTool tool(c.toolfile, c.mode, 10000);
        const ToolResult result = tool.run({QStringLiteral("-ver")});
        EXPECT_FALSE(result.ok()) << c.says;
        EXPECT_TRUE(result.failuretext().contains(QLatin1String(c.says)))
            << modename(c.mode) << ": " << result.failuretext().toStdString();
    }
}

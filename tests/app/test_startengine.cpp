#include "shell/startengine.h"
#include "support/qtprinting.h"
#include "support/testphotos.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

TEST(StartEngine, RunsTheToolWithVerAndDoesNotWait) {
    QTemporaryDir dir;
    const QString seen = dir.filePath(QStringLiteral("arguments"));
    const QString released = dir.filePath(QStringLiteral("released"));
    const QString finished = dir.filePath(QStringLiteral("finished"));
    const QString tool = dir.filePath(QStringLiteral("exiftool"));
    // The tool notes its arguments, then waits until the test lets it go: startengine must have
    // returned long before. It says when it ends, so that it never outlives the folder.
    writefaketool(tool, QStringLiteral("echo \"$@\" > '%1.part' && mv '%1.part' '%1'\n"
                                       "while [ ! -e '%2' ]; do sleep 0.05; done\ntouch '%3'\n")
                            .arg(seen, released, finished)
                            .toUtf8());

    EXPECT_TRUE(startengine(tool));
    writebytes(released, "go"); // only reached because startengine didn't wait

    QDeadlineTimer deadline(30000);
    while (!QFile::exists(seen) && !deadline.hasExpired())
        QThread::msleep(20);
    ASSERT_TRUE(QFile::exists(seen));
    EXPECT_EQ(readbytes(seen), QByteArray("-ver\n"));
    while (!QFile::exists(finished) && !deadline.hasExpired())
        QThread::msleep(20);
    EXPECT_TRUE(QFile::exists(finished));
}

TEST(StartEngine, AMissingToolIsSkipped) {
    QTemporaryDir dir;
    EXPECT_FALSE(startengine(dir.filePath(QStringLiteral("exiftool/exiftool"))));
}

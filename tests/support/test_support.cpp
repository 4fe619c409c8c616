#include "support/filestamp.h"
#include "support/testphotos.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace pivotel;
using namespace pivotel::test;

TEST(FileStamp, TellsEveryNewStateOfAFile) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("p.jpg")), copy = dir.filePath(QStringLiteral("c.jpg"));
    EXPECT_FALSE(filestamp(path).has_value());
    writebytes(path, "first content");
    const auto first = filestamp(path);
    EXPECT_EQ(filestamp(path), first);
    EXPECT_EQ(first->size, 13);
    // Rewritten in place, or replaced by a rename, with the same size and the old date given
    // back. File times move with the kernel's clock tick: the rewrite comes a tick later.
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    const timespec times[2] = {{0, UTIME_OMIT}, st.st_mtim};
    QThread::msleep(50);
    for (const QString& file : {path, copy}) {
        writebytes(file, "other content");
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
    }
    const auto rewritten = filestamp(path);
    EXPECT_NE(rewritten, first);
    EXPECT_EQ(rewritten->modified, first->modified);
    ASSERT_EQ(std::rename(QFile::encodeName(copy).constData(), QFile::encodeName(path).constData()), 0);
    EXPECT_NE(filestamp(path)->inode, rewritten->inode);
    QFile::remove(path);
    EXPECT_FALSE(filestamp(path).has_value());
}

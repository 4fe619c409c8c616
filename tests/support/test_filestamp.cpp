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

namespace {

// Gives the file back the modification time it had.
void setmodified(const QString& path, const timespec& modified) {
    const timespec times[2] = {{0, UTIME_OMIT}, modified};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

timespec modifiedof(const QString& path) {
    struct stat st {};
    EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
    return st.st_mtim;
}

} // namespace

TEST(FileStamp, TellsEveryNewStateOfAFile) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.jpg"));
    EXPECT_FALSE(filestamp(path).has_value());
    writebytes(path, "first content");
    const auto first = filestamp(path);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(filestamp(path), first);
    EXPECT_EQ(first->size, 13);

    // Rewritten with content of the same size, and its old date given back. File times move
    // with the kernel's clock tick, a few milliseconds: the rewrite comes a tick later.
    const timespec date = modifiedof(path);
    QThread::msleep(50);
    writebytes(path, "other content");
    setmodified(path, date);
    const auto rewritten = filestamp(path);
    ASSERT_TRUE(rewritten.has_value());
    EXPECT_NE(rewritten, first);
    EXPECT_EQ(rewritten->size, first->size);
    EXPECT_EQ(rewritten->modified, first->modified);

    // Replaced by a rename, again the same size and date.
    const QString copy = dir.filePath(QStringLiteral("copy.jpg"));
    writebytes(copy, "third content");
    setmodified(copy, date);
    ASSERT_EQ(std::rename(QFile::encodeName(copy).constData(), QFile::encodeName(path).constData()), 0);
    const auto replaced = filestamp(path);
    ASSERT_TRUE(replaced.has_value());
    EXPECT_NE(replaced, rewritten);
    EXPECT_NE(replaced->inode, rewritten->inode);

    QFile::remove(path);
    EXPECT_FALSE(filestamp(path).has_value());
}

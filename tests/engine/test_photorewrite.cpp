#include "engine/photorewrite.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// The data folder on the photos' file system, and on another one (tmpfs), where the working
// file has to lie beside the photo.
class PhotoRewriteTest : public ::testing::Test {
  protected:
    void SetUp() override { writebytes(photo, "old content"); }
    QStringList filesin(const QString& folder) const {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden);
    }

    QTemporaryDir photos, data, otherfs{QStringLiteral("/dev/shm/pivotel-XXXXXX")};
    const QString photo = photos.filePath(QStringLiteral("p.jpg"));
};

} // namespace

TEST_F(PhotoRewriteTest, CommitReplacesThePhotoAndKeepsItsPermissionBits) {
    for (const QString& datafolder : {data.path(), otherfs.path()}) {
        writebytes(photo, "old content");
        ::chmod(QFile::encodeName(photo).constData(), 0640);
        auto rewrite = PhotoRewrite::begin(photo, datafolder);
        ASSERT_TRUE(rewrite) << qPrintable(rewrite.reason());
        const QString working = rewrite.value()->workingpath();
        EXPECT_EQ(QFileInfo(working).path(), datafolder == data.path() ? data.path() : photos.path());
        writebytes(working, "new content");
        EXPECT_EQ(readbytes(photo), QByteArray("old content"));
        ASSERT_TRUE(rewrite.value()->commit());
        EXPECT_FALSE(QFile::exists(working));
        EXPECT_EQ(readbytes(photo), QByteArray("new content"));
        struct stat st {};
        ::stat(QFile::encodeName(photo).constData(), &st);
        EXPECT_EQ(st.st_mode & 07777, mode_t(0640));
        EXPECT_EQ(filesin(photos.path()), QStringList{QStringLiteral("p.jpg")});
    }
}

TEST_F(PhotoRewriteTest, NothingButACompleteCommitTouchesThePhoto) {
    EXPECT_FALSE(PhotoRewrite::begin(photos.filePath(QStringLiteral("missing.jpg")), data.path()));
    EXPECT_FALSE(PhotoRewrite::begin(photos.path(), data.path())); // a folder
    QString working;
    {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        ASSERT_TRUE(rewrite);
        working = rewrite.value()->workingpath();
        EXPECT_FALSE(rewrite.value()->commit()); // a working file that never got content
        writebytes(working, "half");
    } // ended uncommitted
    EXPECT_FALSE(QFile::exists(working));
    EXPECT_EQ(readbytes(photo), QByteArray("old content"));

    // Nor may a photo that vanished meanwhile come back.
    auto rewrite = PhotoRewrite::begin(photo, data.path());
    ASSERT_TRUE(rewrite);
    writebytes(rewrite.value()->workingpath(), "new content");
    QFile::remove(photo);
    EXPECT_FALSE(rewrite.value()->commit());
    EXPECT_FALSE(QFile::exists(photo));
}

TEST_F(PhotoRewriteTest, WhatAKilledRunLeftGoesAtTheNextStartButNotWhatARunningOneUses) {
    // The user's own files, hidden ones too, are never taken for leftovers.
    const QStringList mine{QStringLiteral(".p.jpg"), QStringLiteral(".p.jpg.pivotel-xtemp-notes")};
    for (const QString& name : mine)
        writebytes(photos.filePath(name), "mine");
    for (const QString& datafolder : {data.path(), otherfs.path()}) {
        // A child that ends at once with the rewrite open, as if killed: no destructor runs.
        if (::fork() == 0) {
            auto rewrite = PhotoRewrite::begin(photo, datafolder);
            const QString working = rewrite.value()->workingpath();
            // The working file, and what the tool and the XMP library name after it while they write.
            for (const QString& suffix :
                 {QString(), QStringLiteral("_exiftool_tmp"), QStringLiteral("._00_")})
                writebytes(working + suffix, "half");
            ::_exit(0);
        }
        ::wait(nullptr);
        EXPECT_GE(filesin(photos.path()).size() + filesin(datafolder).size(), 3 + 3 + 1)
            << qPrintable(datafolder);
        cleanleftovers(datafolder);
        EXPECT_EQ(filesin(photos.path()), mine + QStringList{QStringLiteral("p.jpg")})
            << qPrintable(datafolder);
        EXPECT_EQ(filesin(datafolder), QStringList{QStringLiteral("xtemp.lock")}) << qPrintable(datafolder);
        EXPECT_EQ(readbytes(photo), QByteArray("old content"));
    }

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
    EXPECT_TRUE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))));
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readbytes(photo), QByteArray("new content"));
}

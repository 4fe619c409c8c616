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

mode_t modeof(const QString& path) {
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    return st.st_mode & 07777;
}

} // namespace

TEST(PhotoRewrite, CommitReplacesThePhotoAndKeepsItsPermissionBits) {
    QTemporaryDir photos, data;
    // The data folder on the photo's file system, and on another one (tmpfs) where the working
    // file has to lie beside the photo.
    QTemporaryDir otherfs(QStringLiteral("/dev/shm/pivotel-XXXXXX"));
    const struct {
        const char* name;
        QString datafolder;
        bool beside;
    } cases[] = {{"same-fs", data.path(), false}, {"other-fs", otherfs.path(), true}};
    for (const auto& c : cases) {
        const QString photo = photos.filePath(QString::fromLatin1(c.name) + QStringLiteral(".jpg"));
        writebytes(photo, "old content");
        ::chmod(QFile::encodeName(photo).constData(), 0640);
        {
            auto rewrite = PhotoRewrite::begin(photo, c.datafolder);
            ASSERT_TRUE(rewrite) << rewrite.reason().toStdString();
            const QString working = rewrite.value()->workingpath();
            EXPECT_EQ(QFileInfo(working).absolutePath() == photos.path(), c.beside) << qPrintable(working);
            writebytes(working, "new content");
            EXPECT_EQ(readbytes(photo), QByteArray("old content"));
            ASSERT_TRUE(rewrite.value()->commit());
            EXPECT_FALSE(QFile::exists(working));
        }
        EXPECT_EQ(readbytes(photo), QByteArray("new content")) << c.name;
        EXPECT_EQ(modeof(photo), mode_t(0640)) << c.name;
    }
    EXPECT_EQ(QDir(photos.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

TEST(PhotoRewrite, AnUncommittedRewriteLeavesThePhotoAndNoTemporaryFile) {
    QTemporaryDir photos, data;
    const QString photo = photos.filePath(QStringLiteral("p.jpg"));
    writebytes(photo, "old content");
    QString working;
    {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        ASSERT_TRUE(rewrite);
        working = rewrite.value()->workingpath();
        writebytes(working, "half");
    }
    EXPECT_EQ(readbytes(photo), QByteArray("old content"));
    EXPECT_FALSE(QFile::exists(working));
}

TEST(PhotoRewrite, RefusesWhatCantBeReplaced) {
    QTemporaryDir photos, data;
    const QString photo = photos.filePath(QStringLiteral("p.jpg"));
    writebytes(photo, "old content");

    EXPECT_FALSE(PhotoRewrite::begin(photos.filePath(QStringLiteral("missing.jpg")), data.path()));
    EXPECT_FALSE(PhotoRewrite::begin(photos.path(), data.path())); // a folder

    // A working file that never got content must not replace the photo.
    {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        ASSERT_TRUE(rewrite);
        EXPECT_FALSE(rewrite.value()->commit());
        EXPECT_EQ(readbytes(photo), QByteArray("old content"));
    }

    // Nor may a photo that vanished meanwhile come back.
    auto second = PhotoRewrite::begin(photo, data.path());
    ASSERT_TRUE(second);
    writebytes(second.value()->workingpath(), "new content");
    QFile::remove(photo);
    EXPECT_FALSE(second.value()->commit());
    EXPECT_FALSE(QFile::exists(photo));
}

namespace {

// Runs `work` in a child process that ends at once afterwards, as if killed: no destructor runs.
template <typename Work> void inakilledprocess(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
}

} // namespace

TEST(PhotoRewrite, WhatAKilledRunLeftGoesAtTheNextStart) {
    QTemporaryDir photos, data;
    QTemporaryDir otherfs(QStringLiteral("/dev/shm/pivotel-XXXXXX"));
    const QString photo = photos.filePath(QStringLiteral("p.jpg"));
    writebytes(photo, "old content");
    // The user's own files, hidden ones too, are never taken for leftovers.
    writebytes(photos.filePath(QStringLiteral(".p.jpg")), "mine");
    writebytes(photos.filePath(QStringLiteral(".p.jpg.pivotel-xtemp-notes")), "mine");

    for (const QString& datafolder : {data.path(), otherfs.path()}) {
        QStringList left;
        inakilledprocess([&] {
            auto rewrite = PhotoRewrite::begin(photo, datafolder);
            if (!rewrite)
                return;
            const QString working = rewrite.value()->workingpath();
            // The working file, and what the tool and the XMP library name after it while they write.
            for (const QString& name :
                 {working, working + QStringLiteral("_exiftool_tmp"), working + QStringLiteral("._00_")})
                writebytes(name, "half");
            rewrite.value().release(); // the process dies with the rewrite open
        });
        for (const QString& folder : {photos.path(), datafolder}) {
            for (const QString& name : QDir(folder).entryList(QDir::Files | QDir::Hidden)) {
                if (name.contains(QLatin1String("xtemp")) && !name.endsWith(QLatin1String("-notes")) &&
                    name != QLatin1String("xtemp.lock"))
                    left << name;
            }
        }
        EXPECT_GE(left.size(), 3) << qPrintable(datafolder); // the child did leave them

        cleanleftovers(datafolder);
        EXPECT_EQ(QDir(photos.path()).entryList(QDir::Files | QDir::Hidden),
                  (QStringList{QStringLiteral(".p.jpg"), QStringLiteral(".p.jpg.pivotel-xtemp-notes"),
                               QStringLiteral("p.jpg")}))
            << qPrintable(datafolder);
        EXPECT_EQ(QDir(datafolder).entryList(QDir::Files | QDir::Hidden),
                  QStringList{QStringLiteral("xtemp.lock")})
            << qPrintable(datafolder);
        EXPECT_EQ(readbytes(photo), QByteArray("old content"));
    }
}

TEST(PhotoRewrite, CleaningLeavesTheWorkingFileOfARunStillGoing) {
    QTemporaryDir photos, data;
    const QString photo = photos.filePath(QStringLiteral("p.jpg"));
    writebytes(photo, "old content");
    int ready[2], done[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(done), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        writebytes(rewrite.value()->workingpath(), "new content");
        char byte = 'r';
        (void)!::write(ready[1], &byte, 1);
        (void)!::read(done[0], &byte, 1); // until the parent has tried to clean
        ::_exit(rewrite.value()->commit() ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    cleanleftovers(data.path());
    EXPECT_TRUE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))));
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(readbytes(photo), QByteArray("new content"));
    for (int fd : {ready[0], ready[1], done[0], done[1]})
        ::close(fd);
}

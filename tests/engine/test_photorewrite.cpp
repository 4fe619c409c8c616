#include "engine/photorewrite.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

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

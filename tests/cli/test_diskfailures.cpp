// pivotel-cli over a folder it may not write and on a disk that is full: every photo stays as it
// was, and the report names each one with the reason. Both need root.

#include "cli/clirun.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

// Runs pivotel-cli over two photos written into `folder` and checks that each failed with a
// reason that says `why` and is unchanged. `prepare` gets the size of a photo.
void expectuntouched(const QString& folder, const QString& datahome, const char* why,
                     const std::function<void(qint64)>& prepare, const QStringList& runas = {}) {
    // Made outside: the test's metadata tool was started before the disk was mounted, and so
    // doesn't see it.
    QTemporaryDir scratch;
    writetaggedphoto(scratch.filePath(u"p.jpg"_s), 400, 300, 6, 300);
    const QByteArray bytes = readbytes(scratch.filePath(u"p.jpg"_s));
    for (int i = 0; i < 2; ++i)
        writebytes(folder + u"/photo %1.jpg"_s.arg(i), bytes);
    prepare(bytes.size());
    const CliResult run =
        runcli(runas + QStringList{QStringLiteral(PIVOTEL_CLI), u"--json"_s, folder}, datahome);
    EXPECT_EQ(run.exitcode, 1) << why << ": " << qPrintable(run.err);
    const QJsonArray failed = QJsonDocument::fromJson(run.out.toUtf8())[u"failed"_s].toArray();
    EXPECT_EQ(failed.size(), 2) << why << ": " << qPrintable(run.err);
    for (const QJsonValue& entry : failed)
        EXPECT_TRUE(entry[u"reason"_s].toString().contains(QLatin1String(why)))
            << qPrintable(entry[u"reason"_s].toString());
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(readbytes(folder + u"/photo %1.jpg"_s.arg(i)), bytes) << why;
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 2) << why;
    EXPECT_EQ(QDir(datahome + u"/com.zenthori.pivotel"_s).entryList({u"xtemp.jpg"_s, u"xtemp.beside"_s}),
              QStringList())
        << why;
}

} // namespace

TEST(DiskFailures, AFolderThatCantBeWrittenLeavesEveryPhotoAndSaysSo) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "runs pivotel-cli as another user, which needs root";
    QTemporaryDir top;
    const QString photos = top.filePath(u"photos"_s), datahome = top.filePath(u"data"_s);
    QDir().mkpath(photos);
    QDir().mkpath(datahome);
    ::chmod(QFile::encodeName(top.path()).constData(), 0755);
    ::chmod(QFile::encodeName(datahome).constData(), 0777);
    expectuntouched(photos, datahome, "its folder can't be written (Permission denied)",
                    [&](qint64) { ::chmod(QFile::encodeName(photos).constData(), 0555); },
                    {u"setpriv"_s, u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s, u"--"_s});
    ::chmod(QFile::encodeName(photos).constData(), 0755);
}

TEST(DiskFailures, AFullDiskLeavesEveryPhotoAndSaysSo) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "mounts small file systems, which needs root";
    // In a mount namespace of this test process alone.
    ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    QTemporaryDir top, elsewhere;
    const struct {
        bool dataondisk; // the working file in the data folder on the full disk, else beside the photo
        qint64 copies;   // how many copies of a photo there is room for, beyond 16 kB
        const char* why;
    } cases[] = {{true, 0, "No space left on device"},
                 {false, 0, "No space left on device"},
                 {true, 1, "can't be set upright"}}; // room for the working file, not for the tool's copy
    for (const auto& c : cases) {
        const QString disk = top.filePath(u"disk%1"_s.arg(&c - cases));
        QDir().mkpath(disk);
        ASSERT_EQ(::mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=4m"), 0);
        QDir().mkpath(disk + u"/photos"_s);
        expectuntouched(disk + u"/photos"_s, c.dataondisk ? disk + u"/data"_s : elsewhere.path(), c.why,
                        [&](qint64 largest) {
                            struct statvfs fs {};
                            ::statvfs(QFile::encodeName(disk).constData(), &fs);
                            const qint64 room = 16 * 1024 + c.copies * (largest + 8 * 1024);
                            writebytes(disk + u"/filler"_s,
                                       QByteArray(qint64(fs.f_bavail) * qint64(fs.f_frsize) - room, 'f'));
                        });
        ::umount2(QFile::encodeName(disk).constData(), MNT_DETACH);
    }
}

// pivotel-cli over a folder it may not write and on a disk that is full: every photo stays as it
// was, and the report names each one with the reason.

#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

constexpr int photocount = 2;

struct CliRun {
    int exitcode = -1;
    QJsonObject report;
    QString err;
};

CliRun runcli(const QStringList& command, const QString& datahome) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), datahome);
    process.setProcessEnvironment(environment);
    process.start(command.front(), command.mid(1));
    EXPECT_TRUE(process.waitForFinished(120000));
    return {process.exitCode(), QJsonDocument::fromJson(process.readAllStandardOutput()).object(),
            QString::fromUtf8(process.readAllStandardError())};
}

QStringList photosin(const QString& folder) {
    QStringList paths;
    for (int i = 0; i < photocount; ++i)
        paths << folder + QStringLiteral("/photo %1.jpg").arg(i);
    return paths;
}

// Writes the photos and returns their bytes.
std::vector<QByteArray> writephotos(const QString& folder) {
    std::vector<QByteArray> bytes;
    for (const QString& path : photosin(folder)) {
        writetaggedphoto(path, 400, 300, 6, 300);
        bytes.push_back(readbytes(path));
    }
    return bytes;
}

// Every photo failed, is named in the report with a reason that says `why`, and is unchanged.
void expectuntouched(const CliRun& run, const QString& folder, const std::vector<QByteArray>& bytes,
                     const char* why, const char* name) {
    EXPECT_EQ(run.exitcode, 1) << name << ": " << qPrintable(run.err);
    EXPECT_EQ(run.report[QStringLiteral("counts")][QStringLiteral("turned")].toInt(), 0) << name;
    const QJsonArray failed = run.report[QStringLiteral("failed")].toArray();
    EXPECT_EQ(failed.size(), photocount) << name << ": " << qPrintable(run.err);
    for (const QJsonValue& entry : failed) {
        const QString reason = entry[QStringLiteral("reason")].toString();
        EXPECT_TRUE(reason.contains(QLatin1String(why))) << name << ": " << qPrintable(reason);
    }
    const QStringList paths = photosin(folder);
    for (int i = 0; i < photocount; ++i)
        EXPECT_EQ(readbytes(paths[i]), bytes[size_t(i)]) << name << ": " << qPrintable(paths[i]);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), photocount) << name;
}

} // namespace

TEST(DiskFailures, AFolderThatCantBeWrittenLeavesEveryPhotoAndSaysSo) {
    // Root writes anywhere; an ordinary user doesn't.
    if (::geteuid() != 0)
        GTEST_SKIP() << "runs pivotel-cli as another user, which needs root";
    QTemporaryDir top;
    const QString photos = top.filePath(QStringLiteral("photos"));
    const QString datahome = top.filePath(QStringLiteral("data"));
    QDir().mkpath(photos);
    QDir().mkpath(datahome);
    const auto bytes = writephotos(photos);
    ::chmod(QFile::encodeName(top.path()).constData(), 0755);
    ::chmod(QFile::encodeName(photos).constData(), 0555);
    ::chmod(QFile::encodeName(datahome).constData(), 0777);

    const CliRun run =
        runcli({QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                QStringLiteral("--clear-groups"), QStringLiteral("--"), QStringLiteral(PIVOTEL_CLI),
                QStringLiteral("--json"), photos},
               datahome);
    expectuntouched(run, photos, bytes, "its folder can't be written (Permission denied)",
                    "read-only folder");
    ::chmod(QFile::encodeName(photos).constData(), 0755);
}

// A small file system of its own, in a mount namespace of this test process alone.
class FullDisk : public ::testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0)
            GTEST_SKIP() << "mounts a small file system, which needs root";
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0) << std::strerror(errno);
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0) << std::strerror(errno);
    }

    void TearDown() override {
        for (const QString& disk : mounted)
            ::umount2(QFile::encodeName(disk).constData(), MNT_DETACH);
    }

    QString mountdisk(const QString& name) {
        const QString disk = top.filePath(name);
        QDir().mkpath(disk);
        EXPECT_EQ(::mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=4m"), 0)
            << std::strerror(errno);
        mounted << disk;
        return disk;
    }

    // Fills the disk until `room` bytes are left.
    static void fill(const QString& disk, qint64 room) {
        struct statvfs fs {};
        ASSERT_EQ(::statvfs(QFile::encodeName(disk).constData(), &fs), 0);
        const qint64 free = qint64(fs.f_bavail) * qint64(fs.f_frsize);
        ASSERT_GT(free, room);
        writebytes(disk + QStringLiteral("/filler"), QByteArray(free - room, 'f'));
    }

    QTemporaryDir top;
    QStringList mounted;
};

TEST_F(FullDisk, LeavesEveryPhotoAndSaysSo) {
    QTemporaryDir elsewhere;
    const struct {
        const char* name;
        bool dataondisk;  // the working file in the data folder on the full disk, else beside the photo
        qint64 extraroom; // what is left, beyond one more copy of a photo
        qint64 copies;    // how many copies of a photo there is room for
        const char* why;
    } cases[] = {
        {"no room for the working file in the data folder", true, 16 * 1024, 0, "No space left on device"},
        {"no room for the working file beside the photo", false, 16 * 1024, 0, "No space left on device"},
        {"room for the working file, not for the tool's copy of it", true, 16 * 1024, 1,
         "can't be set upright"},
    };
    int n = 0;
    for (const auto& c : cases) {
        const QString disk = mountdisk(QStringLiteral("disk%1").arg(n++));
        const QString photos = disk + QStringLiteral("/photos");
        QDir().mkpath(photos);
        const QString datahome = c.dataondisk ? disk + QStringLiteral("/data") : elsewhere.path();
        const auto bytes = writephotos(photos);
        qint64 largest = 0;
        for (const QByteArray& photo : bytes)
            largest = std::max<qint64>(largest, photo.size());
        fill(disk, c.extraroom + c.copies * (largest + 8 * 1024));

        const CliRun run = runcli({QStringLiteral(PIVOTEL_CLI), QStringLiteral("--json"), photos}, datahome);
        expectuntouched(run, photos, bytes, c.why, c.name);
        const QDir data(datahome + QStringLiteral("/com.zenthori.pivotel"));
        EXPECT_FALSE(data.exists(QStringLiteral("xtemp.jpg"))) << c.name;
        EXPECT_FALSE(data.exists(QStringLiteral("xtemp.beside"))) << c.name;
    }
}

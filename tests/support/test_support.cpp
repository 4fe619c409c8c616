#include "support/filestamp.h"
#include "support/machine.h"
#include "support/memorypolicy.h"
#include "support/nativepath.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vector>

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

TEST(NativePath, EveryFileNameComesBackAsTheBytesItWas) {
    // UTF-8, Latin-1, a cut sequence, an overlong form, an encoded surrogate and the bytes the
    // escape uses: each converts back to itself.
    for (const QByteArray& bytes :
         {QByteArray("/photos/caf\xC3\xA9.jpg"), QByteArray("/photos/caf\xE9.jpg"), QByteArray("\xE2\x82"),
          QByteArray("\xC0\xAF"), QByteArray("\xED\xA0\x80"), QByteArray("\xED\xB2\x80\xF0\x9F\x93\xB7")}) {
        EXPECT_EQ(nativepath(pathfromnative(bytes)), bytes) << bytes.toHex().constData();
    }
    EXPECT_EQ(pathfromnative("caf\xC3\xA9"), QStringLiteral("caf\u00E9")); // valid UTF-8 reads as usual
    EXPECT_EQ(pathfromnative("caf\xE9").size(), 4);
}

TEST(Machine, SizesAreReadAndWrittenAsPeopleWriteThem) {
    const std::pair<const char*, qint64> read[] = {{"800M", 800LL << 20},
                                                   {"1.5g", 3LL << 29},
                                                   {"2 GiB", 2LL << 30},
                                                   {"512kb", 512LL << 10},
                                                   {"4096", 4096},
                                                   {"1T", 1LL << 40},
                                                   {"0", 0},
                                                   {"-1G", 0},
                                                   {"lots", 0},
                                                   {"1.5.2G", 0},
                                                   {"", 0},
                                                   {"8X", 0}}; // 0: refused
    for (const auto& [text, bytes] : read)
        EXPECT_EQ(sizefromtext(QString::fromLatin1(text)).value_or(0), bytes) << text;
    const std::pair<qint64, const char*> written[] = {
        {1000, "1000 bytes"}, {1536, "1.5 KB"}, {174LL << 20, "174 MB"}, {(3LL << 30) / 2, "1.5 GB"}};
    for (const auto& [bytes, text] : written)
        EXPECT_EQ(sizetext(bytes), QLatin1String(text));
}

// The programs start again once with the C library's heap on huge pages, and give the programs
// they run the environment they were given; a user's own choice of the tunable stands, and a
// machine whose balloon takes free memory back keeps 4 KB pages.
TEST(MemoryPolicy, ProgramsStartOnHugePagesAndPassTheEnvironmentOnAsItWas) {
    QFile modes(QStringLiteral("/sys/kernel/mm/transparent_hugepage/enabled"));
    ASSERT_TRUE(modes.open(QIODevice::ReadOnly));
    const QByteArray mode = modes.readAll();
    const bool kernelgives = mode.contains("[madvise]");
    // Sysfs as the probe reads it: this kernel's huge page mode, with a balloon that reports free
    // memory or without one.
    QTemporaryDir plain, reporting;
    for (const QTemporaryDir* sys : {&plain, &reporting}) {
        ASSERT_TRUE(QDir(sys->path()).mkpath(QStringLiteral("kernel/mm/transparent_hugepage")));
        writebytes(sys->filePath(QStringLiteral("kernel/mm/transparent_hugepage/enabled")), mode);
    }
    const QString balloon = reporting.filePath(QStringLiteral("bus/virtio/drivers/virtio_balloon/virtio0"));
    ASSERT_TRUE(QDir().mkpath(balloon));
    writebytes(balloon + QStringLiteral("/features"), "0110010100000000\n");
    const struct {
        const char* tunables; // nullptr: unset
        const QTemporaryDir& sys;
        bool huge;
    } cases[] = {{nullptr, plain, kernelgives},
                 {"glibc.malloc.arena_max=2", plain, kernelgives},
                 {"glibc.malloc.hugetlb=0", plain, false},
                 {nullptr, reporting, false}};
    for (const auto& c : cases) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("GLIBC_TUNABLES"));
        if (c.tunables != nullptr)
            environment.insert(QStringLiteral("GLIBC_TUNABLES"), QString::fromLatin1(c.tunables));
        QProcess probe;
        probe.setProcessEnvironment(environment);
        probe.start(QStringLiteral(HUGEPAGESPROBE), {c.sys.path()});
        ASSERT_TRUE(probe.waitForFinished(10000));
        const QStringList said = QString::fromLatin1(probe.readAllStandardOutput()).split(QLatin1Char('\n'));
        ASSERT_GE(said.size(), 2) << c.tunables;
        EXPECT_EQ(said[0], c.huge ? QStringLiteral("huge") : QStringLiteral("plain")) << c.tunables;
        EXPECT_EQ(said[1], QString::fromLatin1(c.tunables != nullptr ? c.tunables : "(unset)"));
    }
}

// Huge pages are left alone in a virtual machine whose balloon hands free memory back to the
// host: read from the balloon devices' feature bits, bit 5 being free page reporting.
TEST(MemoryPolicy, FreeMemoryGoesToTheHostOnlyWhereABalloonReportsIt) {
    const struct {
        std::vector<const char*> features; // one balloon device each; empty: no balloon driver
        bool reported;
    } cases[] = {
        {{}, false},
        {{"0110000000000000"}, false},                    // statistics and deflate on OOM only
        {{"0110010100000000"}, true},                     // as Firecracker's, with reporting
        {{"01100"}, false},                               // too short to say
        {{"0000000000000000", "0000010000000000"}, true}, // the second of two
    };
    for (const auto& c : cases) {
        QTemporaryDir sys;
        if (!c.features.empty()) {
            const QString driver = sys.filePath(QStringLiteral("bus/virtio/drivers/virtio_balloon"));
            ASSERT_TRUE(QDir().mkpath(driver));
            writebytes(driver + QStringLiteral("/bind"), "");
            for (std::size_t i = 0; i < c.features.size(); ++i) {
                const QString device = driver + QStringLiteral("/virtio%1").arg(i);
                ASSERT_TRUE(QDir().mkpath(device));
                writebytes(device + QStringLiteral("/features"), QByteArray(c.features[i]) + '\n');
            }
        }
        EXPECT_EQ(freememorygoestohost(QFile::encodeName(sys.path()).toStdString()), c.reported)
            << c.features.size();
    }
}

// The sandboxed flavour's writers: photos in folders it wasn't granted, one made read-only as a
// folder the system denies, go the roundabout way; an in-place rewrite killed halfway.

#include "engine/inplacerewrite.h"
#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTemporaryDir>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

// Runs `work` as the user nobody, so that a read-only folder refuses root's run too. Only the
// thread changes its identity (the raw system calls, unlike the C library's, act on one thread);
// the threads and the tool it starts inherit it.
void asnobody(const std::function<void()>& work) {
    if (::geteuid() != 0)
        return work();
    std::thread([&] {
        ASSERT_EQ(::syscall(SYS_setgroups, 0, nullptr), 0);
        ASSERT_EQ(::syscall(SYS_setresgid, 65534, 65534, 65534), 0);
        ASSERT_EQ(::syscall(SYS_setresuid, 65534, 65534, 65534), 0);
        work();
    }).join();
}

void chmod(const QString& path, mode_t mode) {
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), mode), 0) << qPrintable(path);
}

ino_t inode(const QString& path) {
    struct stat st {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_ino : 0;
}

} // namespace

TEST(Roundabout, APhotoOutsideTheGrantedFoldersEndsTurnedUprightInItsPlaceOrIsReportedAndUntouched) {
    QTemporaryDir readonly, writable, otherfs(u"/dev/shm/pivotel-XXXXXX"_s), data, tools;
    for (const QTemporaryDir* folder : {&readonly, &writable, &otherfs, &data, &tools})
        chmod(folder->path(), 0777);
    // A tool that writes nothing where it is told to write a new file.
    const QString nooutput = writefaketool(tools.filePath(u"exiftool"_s),
                                           "for a in \"$@\"; do [ \"$a\" = -o ] && exit 0; done\nexec '" +
                                               QFile::encodeName(exiftoolpath()) + "' \"$@\"\n");
    chmod(nooutput, 0755);
    enum Twist { None, NoOutput, OutputThere, Vanishes, Granted };
    const std::tuple<const QTemporaryDir*, const char*, Twist, QString> cases[] = {
        // the folder, the photo, what goes wrong, what the report says ("" for turned)
        {&readonly, "in place.jpg", None, u""_s},
        {&readonly, "no temporary name.JPE", None, u""_s},
        {&writable, "renamed.jpg", None, u""_s},
        {&otherfs, "in place elsewhere.jpg", None, u""_s},
        {&readonly, "no output.jpg", NoOutput, u"the metadata tool left no new photo"_s},
        {&readonly, "output there.jpg", OutputThere, u"output.jpg was already there"_s},
        {&otherfs, "vanishes.jpg", Vanishes, u"the photo vanished during its turn"_s},
        // Granted, but the system refuses: the photo meets the writers of a granted folder.
        {&readonly, "granted.jpg", Granted, u"its folder can't be written"_s}};
    for (const auto& [folder, name, twist, says] : cases) {
        SCOPED_TRACE(name);
        const QString photo = folder->filePath(QString::fromUtf8(name));
        chmod(folder->path(), 0777);
        writetaggedphoto(photo, 48, 32, 6, 300);
        chmod(photo, 0666);
        chmod(folder->path(), folder == &readonly ? 0555 : 0777);
        const QByteArray bytes = readbytes(photo);
        const Pixels before = decodejpeg(photo);
        const ino_t had = inode(photo);
        if (twist == OutputThere)
            writebytes(data.filePath(u"output.jpg"_s), "someone else's");
        const QString toolfile = twist == NoOutput ? nooutput : exiftoolpath();
        qputenv("PIVOTEL_EXIFTOOL_ONESHOT", twist == NoOutput ? "1" : "0");

        std::vector<PhotoReport> reports;
        asnobody([&] {
            const QStringList granted{twist == Granted ? folder->path() : writable.path() + u"/other"_s};
            RunSession session({{QString::fromUtf8(name), Action::Rotate90Clockwise, photo}}, {},
                               {data.path(), toolfile, granted});
            QObject::connect(
                &session, &RunSession::photostep, &session,
                [&](qint64, const QString& step) {
                    if (twist == Vanishes && step == u"putting it in place"_s)
                        QFile::remove(photo);
                },
                Qt::DirectConnection);
            session.start();
            EXPECT_TRUE(session.wait(QDeadlineTimer(120000)));
            reports = session.reports();
        });
        qunsetenv("PIVOTEL_EXIFTOOL_ONESHOT");
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].outcome, says.isEmpty() ? PhotoOutcome::Turned : PhotoOutcome::Failed);
        EXPECT_TRUE(reports[0].reason.contains(says)) << qPrintable(reports[0].reason);
        if (twist == Vanishes) {
            EXPECT_FALSE(QFile::exists(photo));
        } else if (!says.isEmpty()) {
            EXPECT_EQ(readbytes(photo), bytes);
        } else {
            EXPECT_LE(maxdifference(decodejpeg(photo), turned(before, Action::Rotate90Clockwise)),
                      idcttolerance);
            EXPECT_EQ(exiftool({u"-s3"_s, u"-n"_s, u"-IFD0:Orientation"_s, u"-IFD0:XResolution"_s, photo})
                          .simplified(),
                      u"1 300"_s);
            // Where no new entry can be made beside the photo, its own file takes the new content.
            EXPECT_EQ(inode(photo) == had, folder != &writable);
        }
        EXPECT_EQ(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden),
                  twist == Vanishes ? QStringList() : QStringList{QString::fromUtf8(name)});
        if (twist == OutputThere) {
            EXPECT_EQ(readbytes(data.filePath(u"output.jpg"_s)), "someone else's");
        }
        QFile::remove(data.filePath(u"output.jpg"_s));
        EXPECT_EQ(QDir(data.path()).entryList(QDir::Files | QDir::Hidden).filter(u".jpg"_s), QStringList());
        chmod(folder->path(), 0777);
        QFile::remove(photo);
    }
}

// A program killed while it rewrites a photo in place (by the file size limit, at a set byte):
// at the next start the photo is whole, the old one or the new one, and nothing is left over.
TEST(Roundabout, AnInPlaceRewriteKilledHalfwayIsFinishedOrUndoneAtTheNextStart) {
    QTemporaryDir dir, data;
    const QString photo = dir.filePath(u"p.jpg"_s), content = data.filePath(u"xtemp.jpg"_s);
    writepattern(photo, 48, 32);
    const QByteArray old = readbytes(photo);
    writepattern(content, 480, 320);
    const QByteArray fresh = readbytes(content);
    ASSERT_GT(fresh.size(), 4 * old.size());
    const struct {
        qint64 limit;     // the largest file the child may write; 0: none
        bool contentgone; // the new content is lost before the next start
        const QByteArray& after;
    } cases[] = {{old.size() / 2, false, old}, // killed while the old content is saved
                 {fresh.size() / 2, false, fresh},
                 {fresh.size() / 2, true, old},
                 {0, false, fresh}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.limit);
        writebytes(photo, old);
        writebytes(content, fresh);
        writebytes(data.filePath(u"xtemp.lock"_s), "");
        const pid_t child = ::fork();
        if (child == 0) {
            const rlimit limit{rlim_t(c.limit), rlim_t(c.limit)};
            if (c.limit > 0)
                ::setrlimit(RLIMIT_FSIZE, &limit);
            ::signal(SIGXFSZ, SIG_DFL);
            ::_exit(rewriteinplace(photo, content, data.path(), 0) ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ, c.limit > 0);
        EXPECT_TRUE(c.limit > old.size() || c.limit == 0 || readbytes(photo) == old);
        // Halfway through the new content: the photo is neither.
        EXPECT_EQ(readbytes(photo) != old && readbytes(photo) != fresh, c.limit > old.size());
        if (c.contentgone)
            QFile::remove(content);
        cleanleftovers(data.path());
        EXPECT_EQ(readbytes(photo), c.after);
        EXPECT_EQ(QDir(data.path()).entryList(QDir::Files | QDir::Hidden), QStringList{u"xtemp.lock"_s});
    }
}

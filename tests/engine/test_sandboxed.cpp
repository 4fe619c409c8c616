// The sandboxed flavour's writers in folders it wasn't granted, one read-only as a folder the
// system denies; an in-place rewrite killed halfway.

#include "engine/inplacerewrite.h"
#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

// Runs `work` as the user nobody, whom a read-only folder refuses: the raw system calls change
// this thread's identity alone, and the threads and the tool it starts inherit it.
void asnobody(const std::function<void()>& work) {
    std::thread([&] {
        ASSERT_TRUE(::geteuid() != 0 ||
                    (::syscall(SYS_setgroups, 0, nullptr) | ::syscall(SYS_setresgid, 65534, 65534, 65534) |
                     ::syscall(SYS_setresuid, 65534, 65534, 65534)) == 0);
        work();
    }).join();
}

void chmod(const QString& path, mode_t mode) {
    ::chmod(QFile::encodeName(path).constData(), mode);
}

ino_t inode(const QString& path) {
    struct stat st {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_ino : 0;
}

} // namespace

TEST(Roundabout, APhotoOutsideTheGrantedFoldersEndsTurnedUprightInItsPlaceOrIsReportedAndUntouched) {
    QTemporaryDir readonly, writable, data, tools;
    for (const QString& folder : {readonly.path(), writable.path(), data.path(), tools.path()})
        chmod(folder, 0777);
    // A tool that writes nothing where it is told to write a new file.
    const QString nooutput = writefaketool(tools.filePath(u"exiftool"_s),
                                           "for a in \"$@\"; do [ \"$a\" = -o ] && exit 0; done\nexec '" +
                                               QFile::encodeName(exiftoolpath()) + "' \"$@\"\n");
    chmod(nooutput, 0755);
    enum Twist { None, NoOutput, OutputThere, Granted };
    const std::tuple<bool, const char*, Twist, QString> cases[] = {
        // read-only, the photo, what goes wrong, what the report says ("" for turned)
        {true, "in place.jpg", None, u""_s},
        {true, "no temporary name.JPE", None, u""_s},
        {false, "renamed.jpg", None, u""_s},
        {true, "no output.jpg", NoOutput, u"the metadata tool left no new photo"_s},
        {true, "output there.jpg", OutputThere, u"output.jpg was already there"_s},
        // Granted, yet the system refuses: the writers of a granted folder meet the refusal.
        {true, "granted.jpg", Granted, u"its folder can't be written"_s}};
    for (const auto& [denied, name, twist, says] : cases) {
        SCOPED_TRACE(name);
        const QString folder = denied ? readonly.path() : writable.path(), photo = folder + '/' + name;
        chmod(folder, 0777);
        writetaggedphoto(photo, 48, 32, 6, 300);
        chmod(photo, 0666);
        [[maybe_unused]] const int own = ::chown(QFile::encodeName(photo).constData(), 65534, 65534);
        chmod(folder, denied ? 0555 : 0777);
        const QByteArray bytes = readbytes(photo);
        const Pixels before = decodejpeg(photo);
        const ino_t had = inode(photo);
        if (twist == OutputThere)
            writebytes(data.filePath(u"output.jpg"_s), "another's");
        qputenv("PIVOTEL_EXIFTOOL_ONESHOT", twist == NoOutput ? "1" : "0");
        std::vector<PhotoReport> reports;
        asnobody([&] {
            RunSession session({{name, Action::Rotate90Clockwise, photo}}, {},
                               {data.path(), twist == NoOutput ? nooutput : exiftoolpath(),
                                QStringList{twist == Granted ? folder : tools.path()}});
            session.start();
            EXPECT_TRUE(session.wait());
            reports = session.reports();
        });
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_TRUE(reports[0].reason.contains(says) &&
                    (reports[0].outcome == PhotoOutcome::Turned) == says.isEmpty())
            << qPrintable(reports[0].reason);
        if (says.isEmpty()) {
            EXPECT_LE(maxdifference(decodejpeg(photo), turned(before, Action::Rotate90Clockwise)),
                      idcttolerance);
            EXPECT_EQ(exiftool({u"-s3"_s, u"-n"_s, u"-IFD0:Orientation"_s, u"-IFD0:XResolution"_s, photo})
                          .simplified(),
                      u"1 300"_s);
            EXPECT_EQ(inode(photo) == had, denied); // no new entry can be made beside it
        } else {
            EXPECT_EQ(readbytes(photo), bytes);
        }
        EXPECT_EQ(QDir(data.path()).entryList({u"*.jpg"_s}),
                  twist == OutputThere ? QStringList{u"output.jpg"_s} : QStringList());
        QFile::remove(data.filePath(u"output.jpg"_s));
        chmod(folder, 0777);
        QFile::remove(photo);
    }
}

TEST(Roundabout, AnInPlaceRewriteKilledHalfwayIsFinishedOrUndoneAtTheNextStart) {
    QTemporaryDir dir, data;
    const QString photo = dir.filePath(u"p.jpg"_s), content = data.filePath(u"xtemp.jpg"_s);
    writepattern(photo, 48, 32);
    writepattern(content, 480, 320);
    const QByteArray old = readbytes(photo), fresh = readbytes(content);
    // The file size limit kills the writer at that byte (0: no limit); the new content may be lost.
    const std::tuple<qint64, bool, QByteArray> cases[] = {
        {old.size() / 2, false, old}, // while saving the old
        {fresh.size() / 2, false, fresh},
        {fresh.size() / 2, true, old},
        {0, false, fresh}};
    for (const auto& [limit, lost, after] : cases) {
        SCOPED_TRACE(limit);
        writebytes(photo, old);
        writebytes(content, fresh);
        writebytes(data.filePath(u"xtemp.lock"_s), "");
        const pid_t child = ::fork();
        if (child == 0) {
            const rlimit size{rlim_t(limit), rlim_t(limit)};
            if (limit > 0)
                ::setrlimit(RLIMIT_FSIZE, &size);
            ::_exit(rewriteinplace(photo, content, data.path(), 0, *filestamp(photo)) ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ, limit > 0);
        const QByteArray killed = readbytes(photo); // halfway through the new content: neither
        EXPECT_EQ(killed != old && killed != fresh, limit > old.size());
        if (lost)
            QFile::remove(content);
        cleanleftovers(data.path());
        EXPECT_EQ(readbytes(photo), after);
        EXPECT_EQ(QDir(data.path()).entryList(QDir::Files), QStringList{u"xtemp.lock"_s});
    }
}

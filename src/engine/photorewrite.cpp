#include "engine/photorewrite.h"

#include "engine/inplacerewrite.h"
#include "engine/roundabout.h"
#include "metadata/exiftransplant.h"
#include "support/fileio.h"
#include "support/nativepath.h"
#include "support/places.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtGlobal>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace pivotel {

namespace {

// A working file beside a photo is this and the photo's inode number: the lock on the photo
// keeps any other run from working on it at once, and the name is short whatever the photo's.
const QString besideprefix = QStringLiteral(".pivotel-xtemp-");

// Each slot is one rewrite's set of files in the data folder; slot 0's are the plain names.
QString slotfile(const QString& datafolder, int slot, const char* ending) {
    return slotfilename(datafolder, slot, QStringLiteral("xtemp"), QLatin1String(ending));
}

QString lockfile(const QString& datafolder, int slot) {
    return slotfile(datafolder, slot, ".lock");
}

QString datafolderworking(const QString& datafolder, int slot) {
    return slotfile(datafolder, slot, ".jpg");
}

// Names the working file beside a photo while it may exist.
QString journalfile(const QString& datafolder, int slot) {
    return slotfile(datafolder, slot, ".beside");
}

// Takes the lock of a free slot, `preferred` first; when every slot is in use, waits for
// `preferred`. Answers the slot, or -1 with errno set.
int takeslot(const QString& datafolder, int preferred, UniqueFd& lock) {
    const auto open = [&](int slot) {
        return UniqueFd(
            ::open(nativepath(lockfile(datafolder, slot)).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    };
    for (int i = 0; i < rewriteslots; ++i) {
        const int slot = (preferred + i) % rewriteslots;
        UniqueFd fd = open(slot);
        if (!fd.valid())
            return -1;
        if (::flock(fd.get(), LOCK_EX | LOCK_NB) == 0) {
            lock = std::move(fd);
            return slot;
        }
    }
    lock = open(preferred);
    if (!lock.valid())
        return -1;
    while (::flock(lock.get(), LOCK_EX) != 0) {
        if (errno != EINTR)
            return -1;
    }
    return preferred;
}

Status notebeside(const QString& datafolder, int slot, const QString& working) {
    const QString journal = journalfile(datafolder, slot);
    const QByteArray path = nativepath(working);
    if (Status written = writewholefile(journal, path.constData(), path.size(), 0600); !written)
        return written;
    return syncfile(journal);
}

// Removes the working file and the files its writers name after it while they write: the
// tool's "<working>_exiftool_tmp" and the XMP library's "<working>._NN_".
void removeworkingfiles(const QString& working) {
    ::unlink(nativepath(working).constData());
    const QFileInfo info(working);
    const QString base = info.fileName();
    const QRegularExpression helper(
        QStringLiteral("^%1(_exiftool_tmp|\\._\\d+_)$").arg(QRegularExpression::escape(base)));
    QDir folder(info.absolutePath());
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        if (helper.match(name).hasMatch())
            ::unlink(nativepath(folder.filePath(name)).constData());
    }
}

// Gives `to` every extended attribute of `from`: user attributes, and the ACLs, which Linux keeps
// as attributes too. Done after the permission bits, which an access ACL sets along with itself.
Status copyattributes(int from, int to) {
    const ssize_t listsize = ::flistxattr(from, nullptr, 0);
    if (listsize < 0)
        return errno == ENOTSUP ? Status::success() : Status::failure(errnotext(errno));
    QByteArray names(listsize, Qt::Uninitialized);
    const ssize_t listed = ::flistxattr(from, names.data(), size_t(names.size()));
    if (listed < 0)
        return Status::failure(errnotext(errno));
    for (const QByteArray& name : names.left(listed).split('\0')) {
        if (name.isEmpty())
            continue;
        const ssize_t valuesize = ::fgetxattr(from, name.constData(), nullptr, 0);
        QByteArray value(qMax<ssize_t>(valuesize, 0), Qt::Uninitialized);
        const ssize_t got =
            valuesize < 0 ? -1 : ::fgetxattr(from, name.constData(), value.data(), size_t(value.size()));
        if (got < 0 || ::fsetxattr(to, name.constData(), value.constData(), size_t(got), 0) != 0)
            return Status::failure(QStringLiteral("its extended attribute %1 can't be carried over (%2)")
                                       .arg(QString::fromUtf8(name), errnotext(errno)));
    }
    return Status::success();
}

// Whether a file made by this process can be given `owner`: always for its own files, and for
// another user's only where the process may give files away (root).
bool cangive(const QString& working, uid_t owner) {
    if (owner == ::geteuid())
        return true;
    const QByteArray path = nativepath(working);
    UniqueFd probe(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const bool given = probe.valid() && ::fchown(probe.get(), owner, gid_t(-1)) == 0;
    if (probe.valid())
        ::unlink(path.constData());
    return given;
}

} // namespace

Result<std::unique_ptr<PhotoRewrite>> PhotoRewrite::begin(const QString& photo, const QString& datafolder,
                                                          int preferredslot, bool roundabout) {
    std::unique_ptr<PhotoRewrite> rewrite(new PhotoRewrite());
    // A photo reached through a symbolic link is replaced where it lies; the link stays a link.
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(nativepath(photo).constData(), nullptr), &std::free);
    if (!resolved)
        return Status::failure(errnotext(errno));
    rewrite->photo_ = pathfromnative(resolved.get());

    struct stat photostat {};
    if (::stat(resolved.get(), &photostat) != 0)
        return Status::failure(errnotext(errno));
    if (!S_ISREG(photostat.st_mode))
        return Status::failure(QStringLiteral("not a regular file"));
    // Its owner said it is not to be written; the permission bits alone say so for root too.
    if ((photostat.st_mode & S_IWUSR) == 0)
        return Status::failure(QStringLiteral("the photo is read-only"));
    rewrite->stamp_ = filestamp(photostat);
    // A new file in its place would leave the other names holding the old photo.
    const bool linked = photostat.st_nlink > 1;
    rewrite->mode_ = photostat.st_mode & 07777;
    rewrite->uid_ = photostat.st_uid;
    rewrite->gid_ = photostat.st_gid;

    const QFileInfo photoinfo(rewrite->photo_);
    const QString photofolder = photoinfo.absolutePath();
    const bool folderwritable = ::access(nativepath(photofolder).constData(), W_OK) == 0;
    if (!folderwritable && !roundabout)
        return Status::failure(QStringLiteral("its folder can't be written (%1)").arg(errnotext(errno)));

    if (!ensurefolder(datafolder))
        return Status::failure(QStringLiteral("the data folder %1 can't be made").arg(datafolder));
    rewrite->slot_ = takeslot(datafolder, qBound(0, preferredslot, rewriteslots - 1), rewrite->lock_);
    if (rewrite->slot_ < 0)
        return Status::failure(QStringLiteral("the data folder can't be written (%1)").arg(errnotext(errno)));

    struct stat datastat {};
    const bool samefilesystem =
        ::stat(nativepath(datafolder).constData(), &datastat) == 0 && datastat.st_dev == photostat.st_dev;
    rewrite->datafolder_ = datafolder;
    rewrite->beside_ = !samefilesystem && !roundabout;
    rewrite->inplace_ = linked || (roundabout && !(samefilesystem && folderwritable));
    rewrite->working_ = !rewrite->beside_ ? datafolderworking(datafolder, rewrite->slot_)
                                          : photofolder + QLatin1Char('/') + besideprefix +
                                                QString::number(quint64(photostat.st_ino));
    if (rewrite->beside_) {
        if (Status noted = notebeside(datafolder, rewrite->slot_, rewrite->working_); !noted)
            return Status::failure(
                QStringLiteral("the data folder can't be written (%1)").arg(noted.reason()));
    }
    ::unlink(nativepath(rewrite->working_).constData());
    // A new file in its place would belong to this process's user; a photo rewritten in its own
    // file keeps its owner.
    if (!rewrite->inplace_ && !cangive(rewrite->working_, rewrite->uid_))
        return Status::failure(QStringLiteral("belongs to another user"));
    return rewrite;
}

PhotoRewrite::~PhotoRewrite() {
    if (working_.isEmpty())
        return;
    if (!committed_)
        removeworkingfiles(working_);
    if (beside_)
        ::unlink(nativepath(journalfile(datafolder_, slot_)).constData());
}

Status PhotoRewrite::commit() {
    const QByteArray working = nativepath(working_);
    // The photo may have gone while it was worked on; don't bring it back.
    if (::access(nativepath(photo_).constData(), F_OK) != 0)
        return Status::failure(QStringLiteral("the photo vanished during its turn"));
    // The working file stays uncommitted: it goes with the rewrite.
    if (inplace_)
        return rewriteinplace(photo_, working_, datafolder_, slot_, stamp_);
    {
        UniqueFd fd(::open(working.constData(), O_RDONLY | O_CLOEXEC));
        if (!fd.valid())
            return Status::failure(QStringLiteral("the new photo is missing (%1)").arg(errnotext(errno)));
        struct stat st {};
        if (::fstat(fd.get(), &st) != 0 || st.st_size == 0)
            return Status::failure(QStringLiteral("the new photo is empty"));
        // Only a privileged process can give the file another owner; others keep their own.
        if (::fchown(fd.get(), uid_, gid_) != 0 && errno != EPERM)
            return Status::failure(errnotext(errno));
        if (::fchmod(fd.get(), mode_) != 0)
            return Status::failure(errnotext(errno));
        Result<UniqueFd> old = openregular(photo_);
        if (!old)
            return Status::failure(QStringLiteral("the photo can't be read (%1)").arg(old.reason()));
        if (Status copied = copyattributes(old.value().get(), fd.get()); !copied)
            return copied;
        if (::fsync(fd.get()) != 0)
            return Status::failure(QStringLiteral("the new photo can't be saved (%1)").arg(errnotext(errno)));
    }
    // Last, under the photo's lock: another program's save since the turn began is kept.
    if (filestamp(photo_) != stamp_)
        return Status::failure(QString::fromLatin1(changedduringturn));
    if (::rename(working.constData(), nativepath(photo_).constData()) != 0)
        return Status::failure(QStringLiteral("the photo can't be replaced (%1)").arg(errnotext(errno)));
    committed_ = true;
    // The photo is in place either way; a folder that can't be flushed (some network file
    // systems refuse) leaves only the rename's timing on disk to the system.
    if (Status synced = syncfolder(QFileInfo(photo_).absolutePath()); !synced)
        qWarning("pivotel: %s: the folder could not be flushed: %s", qPrintable(photo_),
                 qPrintable(synced.reason()));
    return Status::success();
}

QStringList cleanleftovers(const QString& datafolder, bool finish) {
    QStringList pending;
    for (int slot = 0; slot < rewriteslots; ++slot) {
        UniqueFd lock(::open(nativepath(lockfile(datafolder, slot)).constData(), O_RDWR | O_CLOEXEC));
        if (!lock.valid())
            continue; // no run has ever used this slot
        // A run in another process holds the lock; its working files are in use.
        if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        // It holds where a photo was taken, so it goes whatever else stays.
        ::unlink(nativepath(ExifTransplant::dumpfileof(pexiffolder(datafolder), slot)).constData());
        // An interrupted rewrite in place needs the working file until it is finished.
        std::optional<QString> unfinished = finish ? std::nullopt : pendinginplace(datafolder, slot);
        if (!unfinished)
            unfinished = cleanroundabout(datafolder, slot);
        if (unfinished) {
            pending << *unfinished;
            continue;
        }
        removeworkingfiles(datafolderworking(datafolder, slot));
        const QString journal = journalfile(datafolder, slot);
        const auto noted = readwholefile(journal);
        if (noted) {
            const QString working = pathfromnative(noted.value());
            const QString name = QFileInfo(working).fileName();
            // Only ever a file this program named (earlier versions named it ".NAME.pivotel-xtemp").
            if (QFileInfo(working).isAbsolute() &&
                (name.startsWith(besideprefix) ||
                 (name.startsWith(QLatin1Char('.')) && name.endsWith(QLatin1String(".pivotel-xtemp")))))
                removeworkingfiles(working);
        }
        ::unlink(nativepath(journal).constData());
    }
    return pending;
}

} // namespace pivotel

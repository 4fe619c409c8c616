#include "engine/inplacerewrite.h"

#include "engine/photorewrite.h"
#include "support/fileio.h"
#include "support/nativepath.h"
#include "support/uniquefd.h"

#include <QList>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace pivotel {

QString slotfilename(const QString& datafolder, int slot, const QString& stem, const QString& ending) {
    const QString number = slot == 0 ? QString() : QString::number(slot + 1);
    return datafolder + QLatin1Char('/') + stem + number + ending;
}

namespace {

QString journalfile(const QString& datafolder, int slot) {
    return slotfilename(datafolder, slot, QStringLiteral("inplace"), QStringLiteral(".journal"));
}

QString savedcopy(const QString& datafolder, int slot) {
    return slotfilename(datafolder, slot, QStringLiteral("original"), QStringLiteral(".jpg"));
}

// What a killed rewrite needs to be finished or undone. Fields are separated by NUL bytes, since
// a photo's name may hold a line break.
struct Journal {
    QString photo;
    QString content;
    QString saved;
    dev_t device = 0;
    ino_t inode = 0;
    qint64 newsize = 0;
    qint64 oldsize = 0;

    QByteArray encode() const {
        const QList<QByteArray> fields{"pivotel in-place 1",
                                       nativepath(photo),
                                       nativepath(content),
                                       nativepath(saved),
                                       QByteArray::number(quint64(device)),
                                       QByteArray::number(quint64(inode)),
                                       QByteArray::number(newsize),
                                       QByteArray::number(oldsize)};
        QByteArray text;
        for (const QByteArray& field : fields)
            text += field + '\0';
        return text;
    }

    // None for a journal cut short: the program was killed before the photo was touched.
    static std::optional<Journal> decode(const QByteArray& text) {
        if (!text.endsWith('\0'))
            return std::nullopt;
        const QList<QByteArray> fields = text.chopped(1).split('\0');
        if (fields.size() != 8 || fields[0] != "pivotel in-place 1")
            return std::nullopt;
        Journal journal{pathfromnative(fields[1]), pathfromnative(fields[2]), pathfromnative(fields[3])};
        bool ok[4] = {};
        journal.device = dev_t(fields[4].toULongLong(&ok[0]));
        journal.inode = ino_t(fields[5].toULongLong(&ok[1]));
        journal.newsize = fields[6].toLongLong(&ok[2]);
        journal.oldsize = fields[7].toLongLong(&ok[3]);
        if (!(ok[0] && ok[1] && ok[2] && ok[3]))
            return std::nullopt;
        return journal;
    }
};

// The whole of `bytes` as the file's content, flushed to the disk.
Status writecontent(int fd, const QByteArray& bytes) {
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t written = ::pwrite(fd, bytes.constData() + done, size_t(bytes.size() - done), done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return Status::failure(errnotext(written < 0 ? errno : EIO));
        done += written;
    }
    if (::ftruncate(fd, bytes.size()) != 0 || ::fsync(fd) != 0)
        return Status::failure(errnotext(errno));
    return Status::success();
}

Result<QByteArray> readcontent(int fd, qint64 size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t got = ::pread(fd, bytes.data() + done, size_t(bytes.size() - done), done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Status::failure(errnotext(errno));
        if (got == 0)
            return Status::failure(QStringLiteral("it changed while it was read"));
        done += got;
    }
    return bytes;
}

// True when the photo holds a whole content again (or is no longer the journal's file).
bool recover(const Journal& journal) {
    UniqueFd fd(::open(nativepath(journal.photo).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    struct stat st {};
    if (!fd.valid() || ::fstat(fd.get(), &st) != 0)
        return errno == ENOENT;
    if (st.st_dev != journal.device || st.st_ino != journal.inode)
        return true;
    const std::pair<QString, qint64> sources[] = {{journal.content, journal.newsize},
                                                  {journal.saved, journal.oldsize}};
    for (const auto& [source, size] : sources) {
        const auto bytes = readwholefile(source);
        if (bytes && bytes->size() == size && writecontent(fd.get(), *bytes))
            return true;
    }
    return false;
}

} // namespace

Status rewriteinplace(const QString& photo, const QString& content, const QString& datafolder, int slot,
                      const FileStamp& expected) {
    const auto fresh = readwholefile(content);
    if (!fresh)
        return Status::failure(QStringLiteral("the new photo can't be read back (%1)").arg(fresh.reason()));
    UniqueFd fd(::open(nativepath(photo).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    if (!fd.valid())
        return Status::failure(errno == ENOENT
                                   ? QStringLiteral("the photo vanished during its turn")
                                   : QStringLiteral("the photo can't be written (%1)").arg(errnotext(errno)));
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        return Status::failure(errnotext(errno));
    if (!S_ISREG(st.st_mode))
        return Status::failure(QStringLiteral("not a regular file"));
    if (filestamp(st) != expected)
        return Status::failure(QString::fromLatin1(changedduringturn));
    const auto old = readcontent(fd.get(), st.st_size);
    if (!old)
        return Status::failure(QStringLiteral("the photo can't be read (%1)").arg(old.reason()));

    // Everything the next start needs is on the disk before the photo's first byte changes.
    const QString saved = savedcopy(datafolder, slot), journal = journalfile(datafolder, slot);
    const Journal record{photo, content, saved, st.st_dev, st.st_ino, fresh->size(), old->size()};
    const QByteArray text = record.encode();
    Status prepared = writewholefile(saved, old->constData(), old->size(), 0600);
    if (prepared)
        prepared = syncfile(saved);
    if (prepared)
        prepared = syncfile(content);
    if (prepared)
        prepared = writewholefile(journal, text.constData(), text.size(), 0600);
    if (prepared)
        prepared = syncfile(journal);
    if (prepared)
        prepared = syncfolder(datafolder);
    if (!prepared) {
        ::unlink(nativepath(journal).constData());
        ::unlink(nativepath(saved).constData());
        return Status::failure(
            QStringLiteral("its old content can't be kept in the data folder (%1)").arg(prepared.reason()));
    }

    if (Status written = writecontent(fd.get(), *fresh); !written) {
        // The old content fits where it stood; the journal stays until it is back whole.
        if (Status undone = writecontent(fd.get(), *old); !undone)
            return Status::failure(
                QStringLiteral("the photo can't be written (%1); its old content is kept in %2 and put "
                               "back at the next start")
                    .arg(written.reason(), saved));
        ::unlink(nativepath(journal).constData());
        ::unlink(nativepath(saved).constData());
        return Status::failure(QStringLiteral("the photo can't be written (%1)").arg(written.reason()));
    }
    ::unlink(nativepath(journal).constData());
    ::unlink(nativepath(saved).constData());
    return Status::success();
}

std::optional<QString> recoverinplace(const QString& datafolder, int slot) {
    const QString journal = journalfile(datafolder, slot);
    if (const auto text = readwholefile(journal)) {
        const std::optional<Journal> record = Journal::decode(*text);
        if (record && !recover(*record)) {
            qWarning("pivotel: %s: an interrupted rewrite could not be finished; its old content is in %s",
                     qPrintable(record->photo), qPrintable(record->saved));
            return record->photo;
        }
    }
    ::unlink(nativepath(journal).constData());
    ::unlink(nativepath(savedcopy(datafolder, slot)).constData());
    return std::nullopt;
}

std::optional<QString> pendinginplace(const QString& datafolder, int slot) {
    const auto text = readwholefile(journalfile(datafolder, slot));
    const std::optional<Journal> record = text ? Journal::decode(*text) : std::nullopt;
    struct stat st {};
    // A photo replaced by another file since has nothing left to finish.
    if (!record || ::lstat(nativepath(record->photo).constData(), &st) != 0 || st.st_dev != record->device ||
        st.st_ino != record->inode)
        return std::nullopt;
    return record->photo;
}

} // namespace pivotel

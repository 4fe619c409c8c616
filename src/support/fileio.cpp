#include "support/fileio.h"

#include "support/nativepath.h"
#include "support/uniquefd.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pivotel {

QString errnotext(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

Result<UniqueFd> openregular(const QString& path) {
    const QByteArray native = nativepath(path);
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;
    // Looking at a photo must not change its access time, which "Preserve File Dates" keeps; only
    // the file's owner may ask that, so others read it as usual.
    UniqueFd fd(::open(native.constData(), flags | O_NOATIME));
    if (!fd.valid() && errno == EPERM)
        fd = UniqueFd(::open(native.constData(), flags));
    if (!fd.valid())
        return Status::failure(errnotext(errno));
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        return Status::failure(errnotext(errno));
    if (!S_ISREG(st.st_mode))
        return Status::failure(QStringLiteral("not a regular file"));
    if (::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK) != 0)
        return Status::failure(errnotext(errno));
    return fd;
}

Result<QByteArray> readwholefile(const QString& path) {
    Result<UniqueFd> opened = openregular(path);
    if (!opened)
        return opened.status();
    const UniqueFd& fd = opened.value();
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        return Status::failure(errnotext(errno));
    QByteArray data;
    data.resize(static_cast<qsizetype>(st.st_size));
    qsizetype done = 0;
    while (done < data.size()) {
        const ssize_t n = ::read(fd.get(), data.data() + done, static_cast<size_t>(data.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return Status::failure(errnotext(errno));
        if (n == 0)
            break;
        done += n;
    }
    // The file may have shrunk while it was read; keep what is there.
    data.truncate(done);
    return data;
}

Status writewholefile(const QString& path, const void* data, qsizetype size, unsigned mode) {
    const QByteArray native = nativepath(path);
    UniqueFd fd(::open(native.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (!fd.valid())
        return Status::failure(errnotext(errno));
    const char* bytes = static_cast<const char*>(data);
    qsizetype done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd.get(), bytes + done, static_cast<size_t>(size - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            const int error = errno;
            ::unlink(native.constData());
            return Status::failure(errnotext(error));
        }
        done += n;
    }
    if (!fd.close()) {
        const int error = errno;
        ::unlink(native.constData());
        return Status::failure(errnotext(error));
    }
    return Status::success();
}

void startwriteback(const QString& path) {
#ifdef __linux__
    UniqueFd fd(::open(nativepath(path).constData(), O_RDONLY | O_CLOEXEC));
    if (fd.valid())
        (void)::sync_file_range(fd.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
#else
    (void)path;
#endif
}

Status syncfolder(const QString& folder) {
    UniqueFd fd(::open(nativepath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid() || ::fsync(fd.get()) != 0)
        return Status::failure(errnotext(errno));
    return Status::success();
}

Status syncfile(const QString& path) {
    UniqueFd fd(::open(nativepath(path).constData(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid() || ::fsync(fd.get()) != 0)
        return Status::failure(errnotext(errno));
    return Status::success();
}

} // namespace pivotel

#include "support/filestamp.h"

#include "support/nativepath.h"

#include <QFile>
#include <sys/stat.h>

namespace pivotel {

namespace {

qint64 nanoseconds(const timespec& time) {
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

} // namespace

std::optional<FileStamp> filestamp(const QString& path) {
    struct stat st {};
    if (::stat(nativepath(path).constData(), &st) != 0)
        return std::nullopt;
    return filestamp(st);
}

FileStamp filestamp(const struct stat& st) {
#ifdef Q_OS_MACOS
    const timespec &modified = st.st_mtimespec, &changed = st.st_ctimespec;
#else
    const timespec &modified = st.st_mtim, &changed = st.st_ctim;
#endif
    return FileStamp{quint64(st.st_dev), quint64(st.st_ino), qint64(st.st_size), nanoseconds(modified),
                     nanoseconds(changed)};
}

} // namespace pivotel

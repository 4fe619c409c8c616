#include "engine/filedates.h"

#include "support/fileio.h"
#include "support/nativepath.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace pivotel {

Result<FileDates> readfiledates(const QString& path) {
    struct stat st {};
    if (::stat(nativepath(path).constData(), &st) != 0)
        return Status::failure(errnotext(errno));
    return FileDates{st.st_atim, st.st_mtim};
}

Status restorefiledates(const QString& path, const FileDates& dates) {
    const timespec times[2] = {dates.accessed, dates.modified};
    if (::utimensat(AT_FDCWD, nativepath(path).constData(), times, 0) != 0)
        return Status::failure(errnotext(errno));
    return Status::success();
}

} // namespace pivotel

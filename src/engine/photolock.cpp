#include "engine/photolock.h"

#include "support/fileio.h"
#include "support/nativepath.h"

#include <QFile>
#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

namespace pivotel {

Result<PhotoLock> PhotoLock::take(const QString& path) {
    for (;;) {
        Result<UniqueFd> opened = openregular(path);
        if (!opened)
            return opened.status();
        UniqueFd fd = std::move(opened.value());
        while (::flock(fd.get(), LOCK_EX) != 0) {
            if (errno != EINTR)
                return Status::failure(QStringLiteral("it can't be locked (%1)").arg(errnotext(errno)));
        }
        // The run that held the lock may have put a new file in the photo's place: lock that one.
        struct stat locked {
        }, now{};
        if (::fstat(fd.get(), &locked) != 0)
            return Status::failure(errnotext(errno));
        if (::stat(nativepath(path).constData(), &now) != 0)
            return Status::failure(errnotext(errno));
        if (locked.st_dev == now.st_dev && locked.st_ino == now.st_ino)
            return PhotoLock(std::move(fd));
    }
}

} // namespace pivotel

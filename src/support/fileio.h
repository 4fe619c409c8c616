#pragma once

#include "support/status.h"
#include "support/uniquefd.h"

#include <QByteArray>
#include <QString>

namespace pivotel {

// Opens a regular file for reading. Anything else (a FIFO, a socket, a device, a folder) is
// refused without waiting on it: a FIFO named like a photo would hold a plain open forever.
// The read leaves the file's access time as it was, where the process owns the file.
Result<UniqueFd> openregular(const QString& path);

// The whole content of a regular file, read as openregular() reads.
Result<QByteArray> readwholefile(const QString& path);

// Writes `size` bytes to a new file at `path`, replacing one that is there. On failure the
// partial file is removed. Flushing to the disk is left to whoever publishes the file.
Status writewholefile(const QString& path, const void* data, qsizetype size, unsigned mode = 0644);

// Flushes a file's data to the disk.
Status syncfile(const QString& path);

// Flushes a folder's entries to the disk, so that a rename or a new file in it lasts.
Status syncfolder(const QString& folder);

// Has the system start writing a file's data to the disk without waiting for it: the fsync that
// must come before the file replaces a photo then finds most of it done. Nothing is promised.
void startwriteback(const QString& path);

// A readable text for an errno value, e.g. "Permission denied".
QString errnotext(int error);

} // namespace pivotel

#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

struct stat;

namespace pivotel {

// What tells one state of a file from another without reading it: which file lies at the path,
// its size, and the times of its last change of content and of any change at all. A file
// replaced by a rename always gets a new stamp; one written in place, also when given back its
// old dates, once the file system's clock has moved on (a few milliseconds at most).
struct FileStamp {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modified = 0; // ns
    qint64 changed = 0;  // ns; no call can set it back
    bool operator==(const FileStamp&) const = default;
};

// The stamp of the file at `path`; nothing when there is no file.
std::optional<FileStamp> filestamp(const QString& path);
// The stamp of a file already looked at.
FileStamp filestamp(const struct stat& st);

} // namespace pivotel

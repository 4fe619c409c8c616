#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace pivotel {

// File names on Linux are bytes, and not every name is UTF-8: an old camera card or archive
// gives Latin-1 names such as "caf\xE9.jpg". Qt's own conversion turns such bytes into U+FFFD,
// and the name can't be found again. These two convert without loss: valid UTF-8 as usual, and
// each byte of an invalid sequence as the lone surrogate U+DC80..U+DCFF (the same escape
// Python uses), which no valid name contains and which converts back to that byte.
[[nodiscard]] QString pathfromnative(QByteArrayView bytes);
[[nodiscard]] QByteArray nativepath(const QString& path);

// Helpers that work on the text alone, since Qt's file classes would lose such a name: the
// absolute, clean form of a path (relative to the working folder), whether it names a folder
// (following links), the size of the file it names (0 when there is none), its last part, and
// all before its last slash (the root's "/" for a file directly in it).
[[nodiscard]] QString absolutepath(const QString& path);
[[nodiscard]] bool isfolder(const QString& path);
[[nodiscard]] qint64 filesizeof(const QString& path);
[[nodiscard]] QString filenameof(const QString& path);
[[nodiscard]] QString folderof(const QString& path);

} // namespace pivotel

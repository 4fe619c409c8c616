#include "support/nativepath.h"

#include <QDir>
#include <sys/stat.h>

namespace pivotel {

namespace {

// The length of the valid UTF-8 sequence at `at`, or 0 when none starts there.
qsizetype sequencelength(QByteArrayView bytes, qsizetype at) {
    const auto byte = [&](qsizetype i) {
        return static_cast<unsigned char>(bytes[i]);
    };
    const unsigned char lead = byte(at);
    if (lead < 0x80)
        return 1;
    qsizetype length = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        least = 0x10000;
    } else {
        return 0;
    }
    if (at + length > bytes.size())
        return 0;
    char32_t code = lead & (0x7F >> length);
    for (qsizetype i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (byte(at + i) & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not valid UTF-8.
    if (code < least || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF)
        return 0;
    return length;
}

} // namespace

QString pathfromnative(QByteArrayView bytes) {
    QString path;
    path.reserve(bytes.size());
    qsizetype at = 0;
    while (at < bytes.size()) {
        const qsizetype length = sequencelength(bytes, at);
        if (length == 0) {
            path.append(QChar(char16_t(0xDC00 + static_cast<unsigned char>(bytes[at]))));
            ++at;
        } else {
            path.append(QString::fromUtf8(bytes.sliced(at, length)));
            at += length;
        }
    }
    return path;
}

QByteArray nativepath(const QString& path) {
    QByteArray bytes;
    bytes.reserve(path.size());
    qsizetype start = 0;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const char16_t unit = path[i].unicode();
        const bool escaped =
            unit >= 0xDC80 && unit <= 0xDCFF && (i == 0 || !QChar::isHighSurrogate(path[i - 1].unicode()));
        if (escaped) {
            bytes.append(QStringView(path).sliced(start, i - start).toUtf8());
            bytes.append(static_cast<char>(unit - 0xDC00));
            start = i + 1;
        }
    }
    bytes.append(QStringView(path).sliced(start).toUtf8());
    return bytes;
}

QString absolutepath(const QString& path) {
    return QDir::cleanPath(path.startsWith(QLatin1Char('/')) ? path
                                                             : QDir::currentPath() + QLatin1Char('/') + path);
}

bool isfolder(const QString& path) {
    struct stat st {};
    return ::stat(nativepath(path).constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

qint64 filesizeof(const QString& path) {
    struct stat st {};
    return ::stat(nativepath(path).constData(), &st) == 0 ? qint64(st.st_size) : 0;
}

QString folderof(const QString& path) {
    return path.left(qMax(path.lastIndexOf(QLatin1Char('/')), 1));
}

QString filenameof(const QString& path) {
    return path.section(QLatin1Char('/'), -1);
}

} // namespace pivotel

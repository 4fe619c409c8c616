#include "support/testphotos.h"

#include "jpeg/segments.h"
#include "jpeg/turbojpeg.h"

#include <QFile>
#include <QProcess>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>

namespace pivotel::test {

namespace {

[[noreturn]] void fail(const QString& what) {
    throw std::runtime_error(what.toStdString());
}
} // namespace

Pixels pattern(int width, int height) {
    Pixels p{width, height, std::vector<unsigned char>(static_cast<size_t>(width) * height * 3)};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            unsigned char* px = &p.rgb[(static_cast<size_t>(y) * width + x) * 3];
            px[0] = static_cast<unsigned char>(255 * x / std::max(1, width - 1));
            px[1] = static_cast<unsigned char>(255 * y / std::max(1, height - 1));
            // A bright square near the top left corner tells every turn apart.
            const bool mark = x < width / 3 && y < height / 4;
            px[2] = mark ? 230 : 40;
        }
    }
    return p;
}

void writejpeg(const QString& path, const Pixels& pixels, int quality, Sampling sampling) {
    const TjHandle tj(tjInitCompress());
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int rc =
        tjCompress2(tj.get(), pixels.rgb.data(), pixels.width, 0, pixels.height, TJPF_RGB, &jpeg, &size,
                    sampling == Sampling::S444 ? TJSAMP_444 : TJSAMP_420, quality, TJFLAG_ACCURATEDCT);
    const TjBuffer owned(jpeg);
    if (rc != 0)
        fail(QStringLiteral("encode failed: %1").arg(QString::fromLocal8Bit(tjGetErrorStr2(tj.get()))));
    writebytes(path, QByteArray(reinterpret_cast<const char*>(jpeg), static_cast<qsizetype>(size)));
}

void writepattern(const QString& path, int width, int height, Sampling sampling) {
    writejpeg(path, pattern(width, height), 95, sampling);
}

Pixels decodejpeg(const QString& path) {
    const QByteArray data = readbytes(path);
    const TjHandle tj(tjInitDecompress());
    int width = 0, height = 0, subsamp = 0, colorspace = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    if (tjDecompressHeader3(tj.get(), bytes, static_cast<unsigned long>(data.size()), &width, &height,
                            &subsamp, &colorspace) != 0)
        fail(QStringLiteral("not a JPEG: %1").arg(path));
    Pixels p{width, height, std::vector<unsigned char>(static_cast<size_t>(width) * height * 3)};
    if (tjDecompress2(tj.get(), bytes, static_cast<unsigned long>(data.size()), p.rgb.data(), width, 0,
                      height, TJPF_RGB, TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING) != 0)
        fail(QStringLiteral("decode failed: %1").arg(path));
    return p;
}

Pixels turned(const Pixels& in, Action action) {
    const bool swap = action == Action::Rotate90Clockwise || action == Action::Rotate90Counterclockwise;
    Pixels out{swap ? in.height : in.width, swap ? in.width : in.height,
               std::vector<unsigned char>(in.rgb.size())};
    for (int y = 0; y < in.height; ++y) {
        for (int x = 0; x < in.width; ++x) {
            int nx = x, ny = y;
            switch (action) {
            case Action::Rotate90Clockwise: // clockwise
                nx = in.height - 1 - y;
                ny = x;
                break;
            case Action::Rotate90Counterclockwise:
                nx = y;
                ny = in.width - 1 - x;
                break;
            case Action::Rotate180:
                nx = in.width - 1 - x;
                ny = in.height - 1 - y;
                break;
            case Action::FlipLeft:
                nx = in.width - 1 - x;
                break;
            case Action::AsIs:
                break;
            }
            std::copy_n(in.at(x, y), 3, &out.rgb[(static_cast<size_t>(ny) * out.width + nx) * 3]);
        }
    }
    return out;
}

int maxdifference(const Pixels& a, const Pixels& b) {
    if (a.width != b.width || a.height != b.height)
        return 255;
    int worst = 0;
    for (size_t i = 0; i < a.rgb.size(); ++i)
        worst = std::max(worst, std::abs(int(a.rgb[i]) - int(b.rgb[i])));
    return worst;
}

QByteArray readbytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail(QStringLiteral("can't read %1").arg(path));
    return file.readAll();
}

void writebytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        fail(QStringLiteral("can't write %1").arg(path));
}

namespace {
QByteArray headerof(const QString& path) {
    auto header = readjpegheader(path);
    if (!header)
        fail(QStringLiteral("no JPEG header in %1").arg(path));
    return std::move(header).value();
}
} // namespace

QList<QByteArray> appsegments(const QString& path) {
    const QByteArray header = headerof(path);
    QList<QByteArray> segments;
    for (const HeaderSegment& segment : headersegments(header)) {
        if ((segment.marker >= 0xE0 && segment.marker <= 0xEF) || segment.marker == 0xFE)
            segments << segment.bytes.toByteArray();
    }
    return segments;
}

bool isprogressive(const QString& path) {
    const QByteArray header = headerof(path);
    for (const HeaderSegment& segment : headersegments(header)) {
        if (segment.marker == 0xC0 || segment.marker == 0xC1 || segment.marker == 0xC2)
            return segment.marker == 0xC2;
    }
    return false;
}

void insertsegment(const QString& path, unsigned char marker, const QByteArray& body) {
    QByteArray bytes = readbytes(path);
    QByteArray segment;
    segment.append(char(0xFF)).append(char(marker));
    const int length = static_cast<int>(body.size()) + 2;
    segment.append(char(length >> 8)).append(char(length & 0xFF)).append(body);
    bytes.insert(2, segment);
    writebytes(path, bytes);
}

QString exiftoolpath() {
    return QStringLiteral(PIVOTEL_TEST_TOOLFILE);
}

QString writefaketool(const QString& path, const QByteArray& body) {
    writebytes(path, "#!/bin/sh\n" + body);
    if (!QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        fail(QStringLiteral("can't make %1 executable").arg(path));
    return path;
}

QString exiftool(const QStringList& arguments) {
    QProcess process;
    process.start(exiftoolpath(), arguments);
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        fail(QStringLiteral("exiftool %1 failed: %2")
                 .arg(arguments.join(QLatin1Char(' ')), QString::fromUtf8(process.readAllStandardError())));
    return QString::fromUtf8(process.readAllStandardOutput());
}

void writetags(const QString& path, const QStringList& assignments) {
    exiftool(QStringList{QStringLiteral("-overwrite_original")} + assignments + QStringList{path});
}

QString readtag(const QString& path, const QString& tag, bool numeric) {
    QStringList arguments{QLatin1Char('-') + tag, QStringLiteral("-s"), QStringLiteral("-s"),
                          QStringLiteral("-s")};
    if (numeric)
        arguments << QStringLiteral("-n");
    return exiftool(arguments << path).trimmed();
}

} // namespace pivotel::test

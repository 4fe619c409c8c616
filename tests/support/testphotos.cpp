#include "support/testphotos.h"

#include "jpeg/segments.h"
#include "jpeg/turbojpeg.h"
#include "metadata/exiftool.h"
#include "support/othercolours.h"

#include <QFile>
#include <algorithm>
#include <functional>
#include <stdexcept>

namespace pivotel::test {

namespace {

[[noreturn]] void fail(const QString& what) {
    throw std::runtime_error(what.toStdString());
}

void encode(const QString& path, const unsigned char* pixels, int width, int height, int format,
            int sampling) {
    const TjHandle tj(tjInitCompress());
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(tj.get(), pixels, width, 0, height, format, &jpeg, &size, sampling & 0xFF,
                               sampling >> 8, TJFLAG_ACCURATEDCT);
    const TjBuffer owned(jpeg);
    if (rc != 0)
        fail(QStringLiteral("encode failed: %1").arg(path));
    writebytes(path, QByteArray(reinterpret_cast<const char*>(jpeg), qsizetype(size)));
}

// The segments of the header whose marker is wanted, whole or only their bodies.
QList<QByteArray> segments(const QString& path, const std::function<bool(int)>& wanted, bool bodies) {
    const auto header = readjpegheader(path);
    if (!header)
        fail(QStringLiteral("no JPEG header in %1").arg(path));
    QList<QByteArray> found;
    for (const HeaderSegment& segment : headersegments(header.value())) {
        if (wanted(segment.marker))
            found << (bodies ? segment.body() : segment.bytes).toByteArray();
    }
    return found;
}

} // namespace

Pixels pattern(int width, int height) {
    Pixels p{width, height, std::vector<unsigned char>(size_t(width) * height * 3)};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto* px = const_cast<unsigned char*>(p.at(x, y));
            px[0] = static_cast<unsigned char>(255 * x / std::max(1, width - 1));
            px[1] = static_cast<unsigned char>(255 * y / std::max(1, height - 1));
            px[2] = x < width / 3 && y < height / 4 ? 230 : 40; // a mark near the top left corner
        }
    }
    return p;
}

void writejpeg(const QString& path, const Pixels& pixels, int quality, Sampling sampling) {
    encode(path, pixels.rgb.data(), pixels.width, pixels.height, TJPF_RGB,
           (sampling == Sampling::S444 ? TJSAMP_444 : TJSAMP_420) | quality << 8);
}

void writepattern(const QString& path, int width, int height, Sampling sampling) {
    writejpeg(path, pattern(width, height), 95, sampling);
}

void writegrey(const QString& path, const Pixels& pixels) {
    std::vector<unsigned char> grey(size_t(pixels.width) * pixels.height);
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = pixels.rgb[i * 3];
    encode(path, grey.data(), pixels.width, pixels.height, TJPF_GRAY, TJSAMP_GRAY | 95 << 8);
}

void writecmyk(const QString& path, const Pixels& pixels) {
    std::vector<unsigned char> inks(size_t(pixels.width) * pixels.height * 4, 60); // black 60 throughout
    for (size_t i = 0; i < inks.size() / 4; ++i)
        std::copy_n(&pixels.rgb[i * 3], 3, &inks[i * 4]);
    encode(path, inks.data(), pixels.width, pixels.height, TJPF_CMYK, TJSAMP_444 | 95 << 8);
}

Pixels decodeinks(const QString& path) {
    const Pixels inks = decodejpeg(path, 4);
    Pixels p{inks.width, inks.height, std::vector<unsigned char>(inks.rgb.size() / 4 * 3)};
    for (size_t i = 0; i < p.rgb.size() / 3; ++i)
        std::copy_n(&inks.rgb[i * 4], 3, &p.rgb[i * 3]);
    return p;
}

Pixels decodejpeg(const QString& path, int channels) {
    const QByteArray data = readbytes(path);
    const TjHandle tj(tjInitDecompress());
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    int width = 0, height = 0, subsamp = 0, colorspace = 0;
    if (tjDecompressHeader3(tj.get(), bytes, (unsigned long)data.size(), &width, &height, &subsamp,
                            &colorspace))
        fail(QStringLiteral("not a JPEG: %1").arg(path));
    Pixels p{width, height, std::vector<unsigned char>(size_t(width) * height * channels)};
    if (tjDecompress2(tj.get(), bytes, (unsigned long)data.size(), p.rgb.data(), width, 0, height,
                      channels == 4 ? TJPF_CMYK : TJPF_RGB, TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING) != 0)
        fail(QStringLiteral("decode failed: %1").arg(path));
    return p;
}

Pixels turned(const Pixels& in, Action action) {
    const bool swap = swapssides(action);
    Pixels out{swap ? in.height : in.width, swap ? in.width : in.height, in.rgb};
    const int w = in.width - 1, h = in.height - 1;
    for (int y = 0; y <= h; ++y) {
        for (int x = 0; x <= w; ++x) {
            // The two mirrors across a diagonal: a quarter turn, then left and right swapped.
            const auto [nx, ny] = action == Action::Rotate90Clockwise          ? std::pair(h - y, x)
                                  : action == Action::Rotate90Counterclockwise ? std::pair(y, w - x)
                                  : action == Action::Rotate180                ? std::pair(w - x, h - y)
                                  : action == Action::FlipLeft                 ? std::pair(w - x, y)
                                  : action == Action::FlipUpsideDown           ? std::pair(x, h - y)
                                  : action == Action::Transpose                ? std::pair(y, x)
                                  : action == Action::Transverse               ? std::pair(h - y, w - x)
                                                                               : std::pair(x, y);
            std::copy_n(in.at(x, y), 3, const_cast<unsigned char*>(out.at(nx, ny)));
        }
    }
    return out;
}

int maxdifference(const Pixels& a, const Pixels& b) {
    int worst = a.width != b.width || a.height != b.height ? 255 : 0;
    for (size_t i = 0; worst < 255 && i < a.rgb.size(); ++i)
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

QList<QByteArray> appsegments(const QString& path) {
    return segments(
        path, [](int marker) { return (marker >= 0xE0 && marker <= 0xEF) || marker == 0xFE; }, false);
}

QList<QByteArray> segmentbodies(const QString& path, unsigned char marker) {
    return segments(
        path, [marker](int found) { return found == marker; }, true);
}

bool isprogressive(const QString& path) {
    return !segmentbodies(path, 0xC2).isEmpty();
}

void insertsegment(const QString& path, unsigned char marker, const QByteArray& body, bool afterfirst) {
    const int length = int(body.size()) + 2;
    const char head[] = {char(0xFF), char(marker), char(length >> 8), char(length & 0xFF)};
    QByteArray jpeg = readbytes(path);
    const qsizetype at = afterfirst ? 2 + 2 + ((uchar(jpeg[4]) << 8) | uchar(jpeg[5])) : 2;
    writebytes(path, jpeg.insert(at, QByteArray(head, 4) + body));
}

QString exiftoolpath() {
    return QStringLiteral(PIVOTEL_TEST_TOOLFILE);
}

QString writefaketool(const QString& path, const QByteArray& body) {
    writebytes(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

QString exiftool(const QStringList& arguments) {
    // Perl's start costs ~0.2 s: one tool serves the whole test process, as one serves a run.
    static ExifTool tool(exiftoolpath(), ToolMode::StayOpen);
    const ToolResult result = tool.run(arguments);
    if (!result.ok())
        fail(QStringLiteral("exiftool %1 failed: %2 %3")
                 .arg(arguments.join(QLatin1Char(' ')), result.failuretext(), QString::fromUtf8(result.err)));
    return QString::fromUtf8(result.out);
}

void writetags(const QString& path, const QStringList& assignments) {
    exiftool(QStringList{QStringLiteral("-overwrite_original")} + assignments + QStringList{path});
}

QString readtag(const QString& path, const QString& tag, bool numeric) {
    const QStringList arguments{QLatin1Char('-') + tag, QStringLiteral("-s3"), path};
    return exiftool(numeric ? arguments + QStringList{QStringLiteral("-n")} : arguments).trimmed();
}

} // namespace pivotel::test

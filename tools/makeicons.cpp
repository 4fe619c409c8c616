// makeicons: draws the application's icon from its SVG into what each place needs:
//   makeicons ICON.svg App.icns PNGFOLDER
// App.icns for the bundle (Info.plist and the About window), and
// PNGFOLDER/<N>x<N>/apps/com.zenthori.pivotel.png for the desktop's icon theme.

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QtEndian>
#include <cstdio>

namespace {

QByteArray png(QSvgRenderer& svg, int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray bigendian(quint32 value) {
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

// An ICNS file: "icns" and the file's length, then one chunk per size, each a type, its own
// length and a PNG.
QByteArray icns(QSvgRenderer& svg) {
    const struct {
        const char* type;
        int size;
    } chunks[] = {{"icp4", 16}, {"icp5", 32}, {"ic07", 128}, {"ic08", 256}, {"ic09", 512}, {"ic10", 1024}};
    QByteArray body;
    for (const auto& chunk : chunks) {
        const QByteArray image = png(svg, chunk.size);
        body += QByteArray(chunk.type) + bigendian(static_cast<quint32>(8 + image.size())) + image;
    }
    return QByteArray("icns") + bigendian(static_cast<quint32>(8 + body.size())) + body;
}

bool write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: makeicons ICON.svg App.icns PNGFOLDER\n");
        return 2;
    }
    QSvgRenderer svg(args[1]);
    if (!svg.isValid()) {
        std::fprintf(stderr, "makeicons: can't read %s\n", qPrintable(args[1]));
        return 1;
    }
    bool ok = write(args[2], icns(svg));
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512})
        ok = ok && write(QStringLiteral("%1/%2x%2/apps/com.zenthori.pivotel.png").arg(args[3]).arg(size),
                         png(svg, size));
    if (!ok)
        std::fprintf(stderr, "makeicons: can't write the icons\n");
    return ok ? 0 : 1;
}

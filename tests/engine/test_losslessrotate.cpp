#include "engine/losslessrotate.h"
#include "metadata/exiftool.h"
#include "photolist/labels.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Lossless : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
};

} // namespace

TEST_F(Lossless, EveryLabelTurnsThePixelsExactly) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 64, 48); // whole 8x8 blocks at 4:4:4
    const Pixels original = decodejpeg(source);
    const struct {
        QString label;
        Action action;
    } cases[] = {
        {label::rotatecw, Action::Rotate90},
        {label::rotateccw, Action::Rotate270},
        {label::rotate180, Action::Rotate180},
        {label::flipleft, Action::MirrorHorizontal},
        {QStringLiteral("rotate 180\u00BA"), Action::Rotate180},
        {label::asis, Action::None},
        {label::fail, Action::None},
    };
    for (const auto& c : cases) {
        const QString target = file(QStringLiteral("target.jpg"));
        ASSERT_TRUE(losslesstransform(source, target, c.label)) << qPrintable(c.label);
        const Pixels expected = turned(original, c.action);
        const Pixels result = decodejpeg(target);
        ASSERT_EQ(result.width, expected.width) << qPrintable(c.label);
        ASSERT_EQ(result.height, expected.height) << qPrintable(c.label);
        EXPECT_LE(maxdifference(result, expected), idcttolerance) << qPrintable(c.label);
        EXPECT_TRUE(isprogressive(target)) << qPrintable(c.label);
    }
}

TEST_F(Lossless, KeepsTheSizeWhenItIsNotWholeBlocks) {
    const QString source = file(QStringLiteral("odd.jpg"));
    writepattern(source, 61, 45, Sampling::S420);
    const struct {
        QString label;
        int width, height;
    } cases[] = {{label::rotatecw, 45, 61},
                 {label::rotateccw, 45, 61},
                 {label::rotate180, 61, 45},
                 {label::flipleft, 61, 45}};
    for (const auto& c : cases) {
        const QString target = file(QStringLiteral("odd-turned.jpg"));
        ASSERT_TRUE(losslesstransform(source, target, c.label));
        const Pixels result = decodejpeg(target);
        EXPECT_EQ(result.width, c.width) << qPrintable(c.label);
        EXPECT_EQ(result.height, c.height) << qPrintable(c.label);
    }
}

TEST_F(Lossless, CopiesEveryMarker) {
    const QString source = file(QStringLiteral("tagged.jpg"));
    writepattern(source, 32, 32);
    writetags(source, {QStringLiteral("-Make=Pivotel Test"), QStringLiteral("-XMP-dc:Title=Harbour"),
                       QStringLiteral("-IPTC:Keywords=boats"), QStringLiteral("-Comment=kept")});
    // A colour profile travels in APP2 "ICC_PROFILE" segments.
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x01\x01", 14) + QByteArray(300, '\x5A'));
    const QList<QByteArray> before = appsegments(source);
    ASSERT_GE(before.size(), 5);

    const QString target = file(QStringLiteral("tagged-turned.jpg"));
    ASSERT_TRUE(losslesstransform(source, target, label::rotatecw));
    const QList<QByteArray> after = appsegments(target);
    for (const QByteArray& segment : before)
        EXPECT_TRUE(after.contains(segment))
            << "lost a segment starting " << segment.left(20).toHex().constData();
}

TEST_F(Lossless, RefusesDamagedData) {
    const QString good = file(QStringLiteral("good.jpg"));
    writepattern(good, 256, 256);
    const QByteArray bytes = readbytes(good);
    QByteArray garbled = bytes;
    for (qsizetype i = bytes.size() / 2; i < bytes.size() / 2 + 64; ++i)
        garbled[i] = char(0xFF);
    const struct {
        const char* name;
        QByteArray content;
    } cases[] = {
        {"truncated.jpg", bytes.left(bytes.size() * 2 / 3)},
        {"garbled.jpg", garbled},
        {"text.jpg", "hello"},
    };
    for (const auto& c : cases) {
        const QString source = file(QString::fromLatin1(c.name));
        writebytes(source, c.content);
        const QString target = file(QStringLiteral("never.jpg"));
        const Status status = losslesstransform(source, target, label::rotatecw);
        EXPECT_FALSE(status) << c.name;
        EXPECT_FALSE(status.reason().isEmpty()) << c.name;
        EXPECT_FALSE(QFile::exists(target)) << c.name;
    }
}

TEST_F(Lossless, ResolutionFromTheTool) {
    const QString withdpi = file(QStringLiteral("dpi.jpg"));
    const QString nodpi = file(QStringLiteral("nodpi.jpg"));
    const QString fraction = file(QStringLiteral("fraction.jpg"));
    for (const QString& path : {withdpi, nodpi, fraction})
        writepattern(path, 16, 16);
    writetags(withdpi, {QStringLiteral("-JFIF:all="), QStringLiteral("-EXIF:XResolution=300")});
    writetags(nodpi, {QStringLiteral("-JFIF:all=")});
    writetags(fraction, {QStringLiteral("-JFIF:all="), QStringLiteral("-EXIF:XResolution=72.5")});

    ExifTool tool(exiftoolpath());
    ExifTool missing(dir.filePath(QStringLiteral("no-such-tool")));
    const struct {
        ExifTool* tool;
        QString path;
        qint64 before, after;
    } cases[] = {
        {&tool, withdpi, 72, 300},
        {&tool, nodpi, 300, 72},
        {&tool, fraction, 72, 72},
        {&missing, withdpi, 150, 150}, // no tool: the value stays
    };
    for (const auto& c : cases) {
        qint64 jpgdpi = c.before;
        EXPECT_TRUE(readresolution(*c.tool, c.path, jpgdpi)) << qPrintable(c.path);
        EXPECT_EQ(jpgdpi, c.after) << qPrintable(c.path);
    }

    // A tool that can't read the photo gives no value to write into it.
    qint64 jpgdpi = 150;
    const Status unread = readresolution(tool, file(QStringLiteral("missing.jpg")), jpgdpi);
    EXPECT_FALSE(unread);
    EXPECT_TRUE(unread.reason().contains(QStringLiteral("File not found"))) << qPrintable(unread.reason());
    EXPECT_EQ(jpgdpi, 150);
}

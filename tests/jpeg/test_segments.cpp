#include "jpeg/probe.h"
#include "jpeg/segments.h"
#include "support/othercolours.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

TEST(Probe, ReadsSizeColoursSamplingAndOrientationFromTheHeader) {
    QTemporaryDir dir;
    const auto file = [&](const char* name) {
        return dir.filePath(QLatin1String(name));
    };
    writepattern(file("plain.jpg"), 40, 30);
    // The orientation comes after other tags, in either byte order.
    writepattern(file("six.jpg"), 61, 45, Sampling::S420);
    writetags(file("six.jpg"), {QStringLiteral("-ExifByteOrder=MM"), QStringLiteral("-Make=Test"),
                                QStringLiteral("-n"), QStringLiteral("-Orientation=6")});
    writepattern(file("eight.jpg"), 16, 8);
    writetags(file("eight.jpg"), {QStringLiteral("-ExifByteOrder=II"), QStringLiteral("-Make=Test"),
                                  QStringLiteral("-n"), QStringLiteral("-Orientation=8")});
    writegrey(file("grey.jpg"), pattern(9, 7));
    writecmyk(file("cmyk.jpg"), 8, 8); // stored as YCCK
    const struct {
        const char* name;
        QSize size;
        JpegColorSpace colours;
        JpegSampling sampling;
        std::optional<int> orientation;
    } cases[] = {{"plain.jpg", {40, 30}, JpegColorSpace::YCbCr, JpegSampling::S444, std::nullopt},
                 {"six.jpg", {61, 45}, JpegColorSpace::YCbCr, JpegSampling::S420, 6},
                 {"eight.jpg", {16, 8}, JpegColorSpace::YCbCr, JpegSampling::S444, 8},
                 {"grey.jpg", {9, 7}, JpegColorSpace::Grey, JpegSampling::Grey, std::nullopt},
                 {"cmyk.jpg", {8, 8}, JpegColorSpace::Ycck, JpegSampling::S444, std::nullopt}};
    for (const auto& c : cases) {
        const auto probe = probejpeg(file(c.name));
        ASSERT_TRUE(probe) << c.name << ": " << qPrintable(probe.reason());
        EXPECT_EQ(probe->size, c.size) << c.name;
        EXPECT_EQ(probe->colorspace, c.colours) << c.name;
        EXPECT_EQ(probe->sampling, c.sampling) << c.name;
        EXPECT_EQ(probe->orientation, c.orientation) << c.name;
    }
}

TEST(Probe, RefusesWhatGivesNoPicture) {
    QTemporaryDir dir;
    const QString good = dir.filePath(QStringLiteral("good.jpg"));
    writepattern(good, 40, 30);
    const QByteArray bytes = readbytes(good);
    // The frame header's height and width fields sit 5 and 7 bytes after the SOF0 marker.
    const qsizetype sof = bytes.indexOf(QByteArray("\xFF\xC0", 2));
    const QByteArray cases[] = {"hello",
                                {},
                                bytes.left(20),
                                bytes.left(sof + 5) + QByteArray(2, '\0') + bytes.mid(sof + 7),
                                bytes.left(sof + 7) + QByteArray(2, '\0') + bytes.mid(sof + 9),
                                QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(100, 'x')};
    for (const QByteArray& content : cases) {
        writebytes(good, content);
        EXPECT_FALSE(probejpeg(good)) << content.left(sof + 9).toHex().constData();
    }
    EXPECT_FALSE(probejpeg(dir.filePath(QStringLiteral("missing.jpg"))));
    EXPECT_FALSE(probejpeg(dir.path()));
}

TEST(PictureEnd, IsJustPastTheEndOfImageWhateverFollowsOrHidesInItsSegments) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("photo.jpg"));
    writepattern(path, 8, 8);
    const QByteArray small = readbytes(path);
    writepattern(path, 64, 48); // enough coded data to hold stuffed bytes (0xFF 0x00)
    const QByteArray photo = readbytes(path);
    ASSERT_TRUE(photo.contains(QByteArray("\xFF\x00", 2)));
    // An EXIF thumbnail is a whole JPEG, end of image included, inside an APP1 segment.
    insertsegment(path, 0xE1, QByteArray("Exif\0\0", 6) + small);
    const QByteArray withthumbnail = readbytes(path);
    // A motion photo's video follows the picture; so may a camera's further pictures.
    const QByteArray video = QByteArray("\0\0\0\x18"
                                        "ftypmp42",
                                        12) +
                             small + QByteArray(500, '\xFF');
    const struct {
        const char* what;
        QByteArray data;
        qsizetype end; // -1: refused
    } cases[] = {{"plain", photo, photo.size()},
                 {"video after", photo + video, photo.size()},
                 {"further picture after", photo + small, photo.size()},
                 {"thumbnail inside", withthumbnail + video, withthumbnail.size()},
                 {"last byte lost", photo.chopped(1), -1},
                 {"cut in the scan", photo.left(photo.size() / 2), -1},
                 {"cut in a segment", withthumbnail.left(40), -1},
                 {"not a JPEG", video, -1}};
    for (const auto& c : cases) {
        const auto end = pictureend(c.data);
        EXPECT_EQ(end ? *end : -1, c.end) << c.what << ": " << qPrintable(end.reason());
    }
}

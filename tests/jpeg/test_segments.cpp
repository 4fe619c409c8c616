#include "jpeg/photofixture.h"
#include "jpeg/probe.h"
#include "jpeg/segments.h"
#include "support/othercolours.h"

using namespace pivotel;
using namespace pivotel::test;

using Probe = PhotoFolder;

TEST_F(Probe, ReadsSizeColoursSamplingAndOrientationFromTheHeader) {
    writepattern(file("plain.jpg"), 40, 30);
    writepattern(file("six.jpg"), 61, 45, Sampling::S420);
    writepattern(file("eight.jpg"), 16, 8);
    // The orientation comes after other tags, in either byte order.
    for (const char* tags : {"six.jpg -ExifByteOrder=MM -Make=Test -n -Orientation=6",
                             "eight.jpg -ExifByteOrder=II -Make=Test -n -Orientation=8"}) {
        QStringList arguments = QString::fromLatin1(tags).split(QLatin1Char(' '));
        writetags(dir.filePath(arguments.takeFirst()), arguments);
    }
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
        SCOPED_TRACE(c.name);
        const auto probe = probejpeg(file(c.name));
        ASSERT_TRUE(probe) << qPrintable(probe.reason());
        EXPECT_EQ(probe->size, c.size);
        EXPECT_EQ(probe->colorspace, c.colours);
        EXPECT_EQ(probe->sampling, c.sampling);
        EXPECT_EQ(probe->orientation, c.orientation);
    }
}

TEST_F(Probe, RefusesWhatGivesNoPicture) {
    writepattern(file("good.jpg"), 40, 30);
    const QByteArray bytes = readbytes(file("good.jpg"));
    // The frame header's height and width fields sit 5 and 7 bytes after the SOF0 marker.
    const qsizetype sof = bytes.indexOf("\xFF\xC0");
    const QByteArray cases[] = {"hello", bytes.left(20),
                                bytes.left(sof + 5) + QByteArray(2, 0) + bytes.mid(sof + 7),
                                bytes.left(sof + 7) + QByteArray(2, 0) + bytes.mid(sof + 9),
                                QByteArray::fromHex("89504e470d0a1a0a") + QByteArray(100, 'x')};
    for (const QByteArray& content : cases) {
        writebytes(file("bad.jpg"), content);
        EXPECT_FALSE(probejpeg(file("bad.jpg"))) << content.left(sof + 9).toHex().constData();
    }
    EXPECT_FALSE(probejpeg(file("missing.jpg")));
    EXPECT_FALSE(probejpeg(dir.path()));
}

TEST_F(Probe, PictureEndIsJustPastTheEndOfImageWhateverFollowsOrHidesInItsSegments) {
    writepattern(file("small.jpg"), 8, 8);
    const QByteArray small = readbytes(file("small.jpg"));
    writepattern(file("photo.jpg"), 64, 48); // enough coded data to hold stuffed bytes (0xFF 0x00)
    const QByteArray photo = readbytes(file("photo.jpg"));
    ASSERT_TRUE(photo.contains(QByteArray("\xFF\x00", 2)));
    // An EXIF thumbnail is a whole JPEG, end of image included, inside an APP1 segment.
    insertsegment(file("photo.jpg"), 0xE1, QByteArray("Exif\0\0", 6) + small);
    const QByteArray withthumbnail = readbytes(file("photo.jpg"));
    // A motion photo's video follows the picture; so may a camera's further pictures.
    const QByteArray video = QByteArray::fromHex("00000018") + "ftypmp42" + small + QByteArray(500, '\xFF');
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

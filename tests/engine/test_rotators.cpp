#include "engine/losslessrotate.h"
#include "engine/normalrotate.h"
#include "engine/turnedpicture.h"
#include "jpeg/decode.h"
#include "jpeg/probe.h"
#include "metadata/exiftool.h"
#include "support/othercolours.h"
#include "support/testpictures.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// Re-encoding at quality 100 with whole chroma moves a pixel by a few steps; on the pattern a
// wrong turn or flip moves some pixel by more than a hundred (checked below), so it can't pass.
constexpr int reencodetolerance = 8;

class Rotators : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    Status rotate(bool lossless, const QString& source, Action action, int quality = 100) {
        return lossless ? losslesstransform(source, target, action)
                        : normalrotatenew(source, action, target, quality).status();
    }
    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("target.jpg"));
};

} // namespace

TEST_F(Rotators, EveryActionTurnsThePixelsExactlyAndKeepsTheColourSpace) {
    const struct {
        int width, height;
        Sampling sampling;
        bool grey;
    } sources[] = {
        {64, 48, Sampling::S444, false}, {61, 45, Sampling::S420, false}, {40, 24, Sampling::S444, true}};
    for (const bool lossless : {true, false}) {
        for (const auto& s : sources) {
            const QString source = file(QStringLiteral("source.jpg"));
            Pixels pixels = pattern(s.width, s.height);
            for (size_t i = 0; s.grey && i < pixels.rgb.size(); i += 3) // the mark into the channel kept
                pixels.rgb[i] = pixels.rgb[i] / 2 + (pixels.rgb[i + 2] > 100 ? 120 : 0);
            s.grey ? writegrey(source, pixels) : writejpeg(source, pixels, 95, s.sampling);
            const Pixels original = decodejpeg(source);
            for (const Action action : allactions) {
                const std::string what = (lossless ? "lossless " : "re-encoded ") + std::to_string(s.width) +
                                         " " + labelof(action).toStdString();
                const Status done = rotate(lossless, source, action);
                ASSERT_TRUE(done) << what << ": " << qPrintable(done.reason());
                const Pixels result = decodejpeg(target);
                EXPECT_EQ(result.width, turned(original, action).width) << what;
                EXPECT_EQ(result.height, turned(original, action).height) << what;
                EXPECT_EQ(isprogressive(target), lossless) << what;
                EXPECT_EQ(probejpeg(target)->colorspace,
                          s.grey ? JpegColorSpace::Grey : JpegColorSpace::YCbCr);
                if (lossless && s.width % 8 != 0)
                    continue; // the partial edge blocks stay where they stood
                for (const Action other : allactions) {
                    const int difference = maxdifference(result, turned(original, other));
                    if (other == action) {
                        EXPECT_LE(difference, lossless ? idcttolerance : reencodetolerance) << what;
                    } else {
                        EXPECT_GT(difference, 100) << what << " looks like " << qPrintable(labelof(other));
                    }
                }
            }
        }
    }
}

TEST_F(Rotators, CarryEveryMarkerProfileAndResolution) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 64, 48);
    writetags(source, {QStringLiteral("-Make=Pivotel Test"), QStringLiteral("-XMP-dc:Title=Harbour"),
                       QStringLiteral("-IPTC:Keywords=boats"), QStringLiteral("-Comment=kept"),
                       QStringLiteral("-JFIF:ResolutionUnit=inches"), QStringLiteral("-JFIF:XResolution=300"),
                       QStringLiteral("-JFIF:YResolution=300")});
    QByteArray profile(100000, Qt::Uninitialized); // two APP2 chunks
    for (qsizetype i = 0; i < profile.size(); ++i)
        profile[i] = char(i % 253);
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x02\x02", 14) + profile.mid(65519));
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x01\x02", 14) + profile.left(65519));

    ASSERT_TRUE(losslesstransform(source, target, Action::Rotate90Clockwise));
    auto sorted = [](QList<QByteArray> segments) {
        std::sort(segments.begin(), segments.end());
        return segments;
    };
    EXPECT_EQ(sorted(appsegments(target)), sorted(appsegments(source)));

    const auto rotated = normalrotatenew(source, Action::Rotate90Clockwise, target, 80);
    ASSERT_TRUE(rotated) << qPrintable(rotated.reason());
    EXPECT_EQ(rotated->jpgdpi, 300);
    const auto result = decodepicture(target);
    ASSERT_TRUE(result) << qPrintable(result.reason());
    EXPECT_EQ(result->colorprofile, profile);
    EXPECT_EQ(result->jpgdpi, 300);
    EXPECT_EQ(readtag(target, QStringLiteral("JFIF:ResolutionUnit"), true), QStringLiteral("1"));
    for (const char* tag : {"Make", "XMP-dc:Title", "IPTC:Keywords", "Comment"})
        EXPECT_EQ(readtag(target, QLatin1String(tag)), readtag(source, QLatin1String(tag))) << tag;
    // What the encoder writes anew (one JFIF header, the profile's two chunks) isn't copied as well.
    const auto app0 = segmentbodies(target, 0xE0), app2 = segmentbodies(target, 0xE2);
    EXPECT_EQ(app0.size(), 1);
    EXPECT_EQ(app2.size(), 2);
}

TEST_F(Rotators, ReencodesAtTheQualityAskedWithOptimisedTables) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 96, 64);
    const struct {
        int quality;
        int luminancedc; // libjpeg's scaling of the standard table's 16
        JpegSampling sampling;
    } cases[] = {{10, 80, JpegSampling::S420},
                 {50, 16, JpegSampling::S420},
                 {89, 4, JpegSampling::S420},
                 {90, 3, JpegSampling::S444},
                 {100, 1, JpegSampling::S444}};
    // The standard luminance AC table of the JPEG standard's annex K, by code length.
    const QByteArray standard = QByteArray::fromHex("1000020103030204030505040400 00017d");
    for (const auto& c : cases) {
        ASSERT_TRUE(rotate(false, source, Action::Rotate180, c.quality));
        EXPECT_EQ(quint8(segmentbodies(target, 0xDB).value(0).at(1)), c.luminancedc) << c.quality;
        EXPECT_EQ(probejpeg(target)->sampling, c.sampling) << c.quality;
        for (const QByteArray& table : segmentbodies(target, 0xC4))
            EXPECT_FALSE(table.startsWith(standard)) << c.quality;
    }
    // No profile in, none out; no resolution in, 72 out.
    EXPECT_TRUE(segmentbodies(target, 0xE2).isEmpty());
    EXPECT_EQ(readtag(target, QStringLiteral("JFIF:XResolution")), QStringLiteral("72"));
}

TEST_F(Rotators, WriteNothingForAPhotoTheyCannotTake) {
    const QString good = file(QStringLiteral("good.jpg"));
    writepattern(good, 256, 256);
    QByteArray garbled = readbytes(good);
    garbled.replace(garbled.size() / 2, 64, QByteArray(64, char(0xFF)));
    writecmyk(file(QStringLiteral("cmyk.jpg")), 16, 16);
    const struct {
        const char* name;
        QByteArray content;
        bool losslessrefuses;
    } cases[] = {
        {"truncated.jpg", readbytes(good).left(900), true},
        {"garbled.jpg", garbled, true},
        {"text.jpg", "hello", true},
        {"cmyk.jpg", readbytes(file(QStringLiteral("cmyk.jpg"))), false},
        {"jpeg.HEIC", readbytes(good), false}, // JPEG data, but not a name to re-encode
    };
    for (const auto& c : cases) {
        const QString source = file(QString::fromLatin1(c.name));
        writebytes(source, c.content);
        for (const bool lossless : {true, false}) {
            if (lossless && !c.losslessrefuses)
                continue;
            const Status status = rotate(lossless, source, Action::Rotate90Clockwise);
            EXPECT_FALSE(status) << c.name << lossless;
            EXPECT_FALSE(status.reason().isEmpty()) << c.name;
            EXPECT_FALSE(QFile::exists(target)) << c.name << lossless;
        }
    }
}

TEST_F(Rotators, ResolutionFromTheTool) {
    const struct {
        const char* name;
        QStringList tags;
        qint64 dpi;
    } cases[] = {{"dpi.jpg", {QStringLiteral("-EXIF:XResolution=300")}, 300},
                 {"fraction.jpg", {QStringLiteral("-EXIF:XResolution=72.5")}, 72},
                 {"none.jpg", {}, 72}};
    ExifTool tool(exiftoolpath()), missing(file(QStringLiteral("no-such-tool")));
    for (const auto& c : cases) {
        const QString path = file(QString::fromLatin1(c.name));
        writepattern(path, 16, 16);
        writetags(path, QStringList{QStringLiteral("-JFIF:all=")} + c.tags);
        EXPECT_EQ(readresolution(tool, path).value(), c.dpi) << c.name;
        EXPECT_EQ(readresolution(missing, path).value(), 72) << c.name;
    }
    // A tool that can't read the photo gives no value to write into it.
    const auto unread = readresolution(tool, file(QStringLiteral("missing.jpg")));
    ASSERT_FALSE(unread);
    EXPECT_TRUE(unread.reason().contains(QStringLiteral("File not found"))) << qPrintable(unread.reason());
}

TEST(TurnedPicture, MovesEveryPixelExactlyInStripsOfAnyHeight) {
    const struct {
        QImage::Format in, out;
    } formats[] = {{QImage::Format_RGB888, QImage::Format_RGB888},
                   {QImage::Format_Grayscale8, QImage::Format_Grayscale8},
                   {QImage::Format_RGB32, QImage::Format_RGBX8888}}; // others are taken as RGBX
    for (const auto& f : formats) {
        for (const QSize& size : {QSize(64, 48), QSize(61, 45), QSize(1, 7), QSize(7, 1)}) {
            const QImage picture =
                f.in == QImage::Format_Grayscale8
                    ? greypictureof(pattern(size.width(), size.height()))
                    : pictureof(pattern(size.width(), size.height())).convertToFormat(f.in);
            for (const Action action : allactions) {
                const TurnedPicture t(picture, action);
                EXPECT_EQ(t.format(), f.out);
                for (const int strip : {16, 5, 1}) {
                    // Taken a strip at a time, as the encoder does; rows need not touch.
                    const qsizetype stride = qsizetype(t.width()) * t.bytesperpixel() + 5;
                    std::vector<unsigned char> buffer(size_t(stride) * t.height());
                    for (int first = 0; first < t.height(); first += strip)
                        t.copyrows(first, std::min(strip, t.height() - first),
                                   &buffer[size_t(first * stride)], stride);
                    const QImage out(buffer.data(), t.width(), t.height(), stride, t.format());
                    EXPECT_EQ(maxdifference(pixelsof(out), turned(pixelsof(picture), action)), 0)
                        << size.width() << "x" << size.height() << " " << qPrintable(labelof(action)) << " "
                        << strip;
                }
            }
        }
    }
}

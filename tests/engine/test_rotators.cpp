#include "engine/losslessrotate.h"
#include "engine/normalrotate.h"
#include "engine/turnedpicture.h"
#include "jpeg/decode.h"
#include "jpeg/probe.h"
#include "metadata/exiftool.h"
#include "support/othercolours.h"
#include "support/testpictures.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

class Rotators : public ::testing::Test {
  protected:
    Status rotate(bool lossless, Action action, int quality = 100) {
        return lossless ? losslesstransform(source, target, action)
                        : normalrotatenew(source, action, target, quality).status();
    }
    QTemporaryDir dir;
    const QString source = dir.filePath(u"source.jpg"_s), target = dir.filePath(u"target.jpg"_s);
};

} // namespace

TEST_F(Rotators, EveryActionTurnsThePixelsExactlyAndKeepsTheColourSpace) {
    // Whole blocks, partial ones (nothing may be cut or added), grey (with the mark in its channel).
    const std::tuple<int, int, Sampling, bool> sources[] = {
        {64, 48, Sampling::S444, false}, {61, 45, Sampling::S420, false}, {40, 24, Sampling::S444, true}};
    for (const bool lossless : {true, false}) {
        for (const auto& [width, height, sampling, grey] : sources) {
            Pixels pixels = pattern(width, height);
            for (size_t i = 0; grey && i < pixels.rgb.size(); i += 3)
                pixels.rgb[i] = pixels.rgb[i] / 2 + (pixels.rgb[i + 2] > 100 ? 120 : 0);
            grey ? writegrey(source, pixels) : writejpeg(source, pixels, 95, sampling);
            const Pixels original = decodejpeg(source);
            for (const Action action : allactions) {
                SCOPED_TRACE((lossless ? "lossless " : "re-encoded ") + std::to_string(width) + " " +
                             labelof(action).toStdString());
                ASSERT_TRUE(rotate(lossless, action));
                const Pixels result = decodejpeg(target);
                EXPECT_EQ(result.width, turned(original, action).width);
                EXPECT_EQ(result.height, turned(original, action).height);
                EXPECT_EQ(isprogressive(target), lossless);
                EXPECT_EQ(probejpeg(target)->colorspace, grey ? JpegColorSpace::Grey : JpegColorSpace::YCbCr);
                // The partial edge blocks of a lossless turn stay where they stood. Re-encoding at
                // quality 100 moves a pixel by a few steps; a wrong turn moves some by over 100.
                for (const Action other : allactions) {
                    const int difference = maxdifference(result, turned(original, other));
                    EXPECT_TRUE(
                        (lossless && width % 8) ||
                        (other == action ? difference <= (lossless ? idcttolerance : 8) : difference > 100))
                        << qPrintable(labelof(other)) << " " << difference;
                }
            }
        }
    }
}

TEST_F(Rotators, CarryEveryMarkerProfileAndResolution) {
    writepattern(source, 64, 48);
    writetags(source, {u"-Make=Pivotel Test"_s, u"-XMP-dc:Title=Harbour"_s, u"-IPTC:Keywords=boats"_s,
                       u"-Comment=kept"_s, u"-JFIF:ResolutionUnit=inches"_s, u"-JFIF:XResolution=300"_s,
                       u"-JFIF:YResolution=300"_s});
    QByteArray profile(100000, Qt::Uninitialized); // two APP2 chunks
    for (qsizetype i = 0; i < profile.size(); ++i)
        profile[i] = char(i % 253);
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x02\x02", 14) + profile.mid(65519));
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x01\x02", 14) + profile.left(65519));

    ASSERT_TRUE(rotate(true, Action::Rotate90Clockwise));
    auto sorted = [](QList<QByteArray> segments) {
        std::sort(segments.begin(), segments.end());
        return segments;
    };
    EXPECT_EQ(sorted(appsegments(target)), sorted(appsegments(source)));

    const auto rotated = normalrotatenew(source, Action::Rotate90Clockwise, target, 80);
    ASSERT_TRUE(rotated) << qPrintable(rotated.reason());
    EXPECT_EQ(rotated->jpgdpi, 300);
    const auto result = decodepicture(target);
    EXPECT_EQ(result->colorprofile, profile);
    EXPECT_EQ(result->jpgdpi, 300);
    EXPECT_EQ(readtag(target, u"JFIF:ResolutionUnit"_s, true), u"1"_s);
    for (const char* tag : {"Make", "XMP-dc:Title", "IPTC:Keywords", "Comment"})
        EXPECT_EQ(readtag(target, QLatin1String(tag)), readtag(source, QLatin1String(tag))) << tag;
    // What the encoder writes anew (one JFIF header, the profile's two chunks) isn't copied as well.
    EXPECT_EQ(segmentbodies(target, 0xE0).size() * 10 + segmentbodies(target, 0xE2).size(), 12);
}

TEST_F(Rotators, ReencodeAtTheQualityAskedWithOptimisedTables) {
    writepattern(source, 96, 64);
    // The quality as libjpeg scales the standard table's luminance DC step of 16; chroma halved
    // both ways below 90.
    const std::tuple<int, int, JpegSampling> cases[] = {{10, 80, JpegSampling::S420},
                                                        {50, 16, JpegSampling::S420},
                                                        {89, 4, JpegSampling::S420},
                                                        {90, 3, JpegSampling::S444},
                                                        {100, 1, JpegSampling::S444}};
    // The luminance AC table of the JPEG standard's annex K, by code length.
    const QByteArray standard = QByteArray::fromHex("1000020103030204030505040400 00017d");
    for (const auto& [quality, luminancedc, sampling] : cases) {
        ASSERT_TRUE(rotate(false, Action::Rotate180, quality));
        EXPECT_EQ(segmentbodies(target, 0xDB).value(0).at(1), luminancedc) << quality;
        EXPECT_EQ(probejpeg(target)->sampling, sampling) << quality;
        for (const QByteArray& table : segmentbodies(target, 0xC4))
            EXPECT_FALSE(table.startsWith(standard)) << quality;
    }
    // No profile in, none out; no resolution in, 72 out.
    EXPECT_TRUE(segmentbodies(target, 0xE2).isEmpty());
    EXPECT_EQ(readtag(target, u"JFIF:XResolution"_s), u"72"_s);
}

TEST_F(Rotators, ResolutionFromTheTool) {
    ExifTool tool(exiftoolpath()), missing(dir.filePath(u"no-such-tool"_s));
    writepattern(source, 16, 16);
    for (const auto& [resolution, dpi] : {std::pair{u""_s, 72}, {u"300"_s, 300}, {u"72.5"_s, 72}}) {
        writetags(source, {u"-JFIF:all="_s, "-EXIF:XResolution="_L1 + resolution});
        EXPECT_EQ(readresolution(tool, source).value(), dpi) << qPrintable(resolution);
        EXPECT_EQ(readresolution(missing, source).value(), 72) << qPrintable(resolution);
    }
    // A tool that can't read the photo gives no value to write into it.
    EXPECT_TRUE(readresolution(tool, target).reason().contains(u"File not found"_s));
}

TEST(TurnedPicture, MovesEveryPixelExactlyInStripsOfAnyHeight) {
    const std::pair<QImage::Format, QImage::Format> formats[] = {
        // others are taken as RGBX
        {QImage::Format_RGB888, QImage::Format_RGB888},
        {QImage::Format_Grayscale8, QImage::Format_Grayscale8},
        {QImage::Format_RGB32, QImage::Format_RGBX8888}};
    for (const auto& [in, out] : formats) {
        for (const QSize& size : {QSize(64, 48), QSize(61, 45), QSize(1, 7), QSize(7, 1)}) {
            const Pixels source = pattern(size.width(), size.height());
            const QImage picture = in == QImage::Format_Grayscale8 ? greypictureof(source)
                                                                   : pictureof(source).convertToFormat(in);
            for (const Action action : allactions) {
                const TurnedPicture t(picture, action);
                EXPECT_EQ(t.format(), out);
                for (const int strip : {16, 5, 1}) { // as the encoder takes it; rows need not touch
                    const qsizetype stride = qsizetype(t.width()) * t.bytesperpixel() + 5;
                    std::vector<unsigned char> rows(size_t(stride) * t.height());
                    for (int first = 0; first < t.height(); first += strip)
                        t.copyrows(first, std::min(strip, t.height() - first), &rows[size_t(first * stride)],
                                   stride);
                    EXPECT_EQ(maxdifference(
                                  pixelsof(QImage(rows.data(), t.width(), t.height(), stride, t.format())),
                                  turned(pixelsof(picture), action)),
                              0)
                        << size.width() << "x" << size.height() << " " << qPrintable(labelof(action)) << " "
                        << strip;
                }
            }
        }
    }
}

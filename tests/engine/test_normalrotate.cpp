#include "engine/losslessrotate.h"
#include "engine/normalrotate.h"
#include "photolist/labels.h"
#include "preview/loadpicture.h"
#include "support/jpegstructure.h"
#include "support/othercolours.h"
#include "support/testphotos.h"

#include <QFile>
#include <QTemporaryDir>
#include <array>
#include <gtest/gtest.h>
#include <map>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// Re-encoding at quality 100 without chroma subsampling moves a pixel by a few steps; the
// lossless path's own rounding adds up to four. On the test pattern a wrong turn or flip moves
// some pixel by more than a hundred (checked below), so it can't pass.
constexpr int reencodetolerance = 8;

const struct {
    QString label;
    Action action;
} labels[] = {
    {label::rotatecw, Action::Rotate90},   {label::rotateccw, Action::Rotate270},
    {label::rotate180, Action::Rotate180}, {label::flipleft, Action::MirrorHorizontal},
    {label::asis, Action::None},
};

class NormalRotate : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }

    QString reencoded(const QString& source, const QString& label, int quality = 100) {
        const QString target = file(QStringLiteral("target.jpg"));
        qint64 jpgdpi = 0;
        const Status done = normalrotatenew(source, label, target, quality, jpgdpi);
        EXPECT_TRUE(done) << qPrintable(done.reason());
        return target;
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(NormalRotate, TurnsThePixelsForEveryLabel) {
    for (const Sampling sampling : {Sampling::S444, Sampling::S420}) {
        const QString source = file(QStringLiteral("source.jpg"));
        writepattern(source, 61, 45, sampling); // not whole blocks: nothing may be cut or added
        const Pixels original = decodejpeg(source);
        for (const auto& c : labels) {
            const QString target = reencoded(source, c.label);
            const Pixels expected = turned(original, c.action);
            const Pixels result = decodejpeg(target);
            ASSERT_EQ(result.width, expected.width) << qPrintable(c.label);
            ASSERT_EQ(result.height, expected.height) << qPrintable(c.label);
            EXPECT_LE(maxdifference(result, expected), reencodetolerance) << qPrintable(c.label);
            EXPECT_EQ(jpegstructure(target).frame, 0xC0) << qPrintable(c.label); // baseline
        }
    }
}

TEST_F(NormalRotate, AgreesWithTheLosslessPath) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 64, 48); // whole blocks, so the lossless path turns every pixel
    std::vector<Pixels> lossless;
    for (const auto& c : labels) {
        const QString target = file(QStringLiteral("lossless.jpg"));
        ASSERT_TRUE(losslesstransform(source, target, c.label));
        lossless.push_back(decodejpeg(target));
    }
    for (size_t i = 0; i < std::size(labels); ++i) {
        const Pixels normal = decodejpeg(reencoded(source, labels[i].label));
        for (size_t j = 0; j < std::size(labels); ++j) {
            const int difference = maxdifference(normal, lossless[j]);
            if (i == j) {
                EXPECT_LE(difference, reencodetolerance) << qPrintable(labels[i].label);
            } else {
                EXPECT_GT(difference, 100)
                    << qPrintable(labels[i].label) << " / " << qPrintable(labels[j].label);
            }
        }
    }
}

TEST_F(NormalRotate, EncodesAtTheQualityAsked) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 96, 64);
    const struct {
        int quality;
        int luminancedc; // libjpeg's scaling of the standard table's 16
    } cases[] = {{10, 80}, {50, 16}, {75, 8}, {100, 1}};
    std::map<int, qsizetype> sizes;
    for (const auto& c : cases) {
        const QString target = reencoded(source, label::rotatecw, c.quality);
        EXPECT_EQ(jpegstructure(target).quantdc[0], c.luminancedc) << c.quality;
        sizes[c.quality] = readbytes(target).size();
    }
    EXPECT_LT(sizes[10], sizes[50]);
    EXPECT_LT(sizes[50], sizes[75]);
    EXPECT_LT(sizes[75] * 2, sizes[100]);
}

TEST_F(NormalRotate, OptimisesTheHuffmanTables) {
    // The standard luminance AC table of the JPEG standard's annex K, by code length.
    const std::array<int, 16> standard{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d};
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 96, 64);
    const JpegStructure result = jpegstructure(reencoded(source, label::rotate180, 75));
    ASSERT_EQ(result.huffmancounts.count(0x10), 1u);
    EXPECT_NE(result.huffmancounts.at(0x10), standard);
}

TEST_F(NormalRotate, CarriesProfileResolutionAndMetadata) {
    const QString source = file(QStringLiteral("source.jpg"));
    writepattern(source, 64, 48);
    writetags(source, {QStringLiteral("-Make=Pivotel Test"), QStringLiteral("-XMP-dc:Title=Harbour"),
                       QStringLiteral("-IPTC:Keywords=boats"), QStringLiteral("-Comment=kept"),
                       QStringLiteral("-JFIF:ResolutionUnit=inches"), QStringLiteral("-JFIF:XResolution=300"),
                       QStringLiteral("-JFIF:YResolution=300")});
    QByteArray profile(100000, Qt::Uninitialized); // two APP2 chunks
    for (qsizetype i = 0; i < profile.size(); ++i)
        profile[i] = char(i % 253);
    constexpr qsizetype chunk = 65519;
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x02\x02", 14) + profile.mid(chunk));
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x01\x02", 14) + profile.left(chunk));

    const QString target = file(QStringLiteral("target.jpg"));
    qint64 jpgdpi = 0;
    ASSERT_TRUE(normalrotatenew(source, label::rotatecw, target, 80, jpgdpi));
    EXPECT_EQ(jpgdpi, 300);

    const auto result = loadpicture(target);
    ASSERT_TRUE(result) << qPrintable(result.reason());
    EXPECT_EQ(result->colorprofile, profile);
    EXPECT_EQ(result->jpgdpi, 300);
    EXPECT_EQ(readtag(target, QStringLiteral("JFIF:ResolutionUnit"), true), QStringLiteral("1"));
    EXPECT_EQ(readtag(target, QStringLiteral("JFIF:XResolution")), QStringLiteral("300"));
    EXPECT_EQ(readtag(target, QStringLiteral("Make")), QStringLiteral("Pivotel Test"));
    EXPECT_EQ(readtag(target, QStringLiteral("XMP-dc:Title")), QStringLiteral("Harbour"));
    EXPECT_EQ(readtag(target, QStringLiteral("IPTC:Keywords")), QStringLiteral("boats"));
    EXPECT_EQ(readtag(target, QStringLiteral("Comment")), QStringLiteral("kept"));

    // One JFIF header and one profile: what the encoder writes anew isn't copied as well.
    int jfif = 0, icc = 0;
    for (const QByteArray& segment : appsegments(target)) {
        jfif += segment.mid(4).startsWith(QByteArray("JFIF\0", 5));
        icc += segment.mid(4).startsWith(QByteArray("ICC_PROFILE\0", 12));
    }
    EXPECT_EQ(jfif, 1);
    EXPECT_EQ(icc, 2);
}

TEST_F(NormalRotate, NoProfileWritesNone) {
    const QString source = file(QStringLiteral("plain.jpg"));
    writepattern(source, 32, 24);
    const QString target = reencoded(source, label::rotate180);
    for (const QByteArray& segment : appsegments(target))
        EXPECT_FALSE(segment.mid(4).startsWith(QByteArray("ICC_PROFILE\0", 12)));
    EXPECT_EQ(readtag(target, QStringLiteral("JFIF:XResolution")), QStringLiteral("72"));
}

TEST_F(NormalRotate, GreyStaysGrey) {
    const QString source = file(QStringLiteral("grey.jpg"));
    writegrey(source, pattern(40, 24));
    const Pixels original = decodejpeg(source);
    const QString target = reencoded(source, label::rotateccw);
    EXPECT_EQ(jpegstructure(target).components, 1);
    EXPECT_LE(maxdifference(decodejpeg(target), turned(original, Action::Rotate270)), reencodetolerance);
}

TEST_F(NormalRotate, WritesNothingForAPhotoItCannotDecode) {
    const QString truncated = file(QStringLiteral("truncated.jpg"));
    writepattern(truncated, 128, 128);
    writebytes(truncated, readbytes(truncated).left(900));
    const QString cmyk = file(QStringLiteral("cmyk.jpg"));
    writecmyk(cmyk, 16, 16);
    const QString heic = file(QStringLiteral("jpeg.HEIC")); // JPEG data, but not a name it decodes
    writepattern(heic, 16, 16);
    for (const QString& source : {truncated, cmyk, heic}) {
        const QString target = file(QStringLiteral("target.jpg"));
        qint64 jpgdpi = 123;
        const Status done = normalrotatenew(source, label::rotatecw, target, 80, jpgdpi);
        EXPECT_FALSE(done) << qPrintable(source);
        EXPECT_FALSE(done.reason().isEmpty());
        EXPECT_FALSE(QFile::exists(target)) << qPrintable(source);
        EXPECT_EQ(jpgdpi, 123);
    }
}

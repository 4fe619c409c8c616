// Runs with lossless rotation off: the batch run re-encodes through normalrotatenew.

#include "engine/batchrun.h"
#include "photolist/labels.h"
#include "support/jpegstructure.h"
#include "support/othercolours.h"
#include "support/runfixture.h"
#include "support/testphotos.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// Quality 95 keeps the chroma whole; the pattern then comes back within a few steps.
constexpr int quality = 95;
constexpr int luminancedc = 2; // libjpeg's table at quality 95
constexpr int reencodetolerance = 8;

class ReencodeRun : public RunFixture {
  protected:
    static RunOptions reencode(bool processall) {
        RunOptions options;
        options.uselosslessrotation = false;
        options.normalprocessall = processall;
        options.quality = quality;
        return options;
    }
};

} // namespace

TEST_F(ReencodeRun, ProcessAllReencodesAsIsRowsUnturned) {
    PhotoListModel list;
    const QString asis = photo(QStringLiteral("asis.jpg"));
    const QString cw = photo(QStringLiteral("cw.jpg"));
    list.appendrow(QStringLiteral("asis.jpg"), label::asis, asis);
    list.appendrow(QStringLiteral("cw.jpg"), label::rotatecw, cw);
    const QByteArray asisbytes = readbytes(asis);
    const Pixels asisbefore = decodejpeg(asis);
    const Pixels cwbefore = decodejpeg(cw);

    const RunOptions options = reencode(true);
    ASSERT_EQ(list.counttodolist(options.selection()), 2);
    list.makelist(options.selection());
    const auto reports = run(list.filelist(), options);

    ASSERT_EQ(reports.size(), 2u);
    for (const PhotoReport& report : reports)
        EXPECT_EQ(report.outcome, PhotoOutcome::Turned) << qPrintable(report.reason);
    EXPECT_NE(readbytes(asis), asisbytes);
    EXPECT_LE(maxdifference(decodejpeg(asis), asisbefore), reencodetolerance);
    EXPECT_LE(maxdifference(decodejpeg(cw), turned(cwbefore, Action::Rotate90)), reencodetolerance);
    for (const QString& path : {asis, cw}) {
        const JpegStructure structure = jpegstructure(path);
        EXPECT_EQ(structure.frame, 0xC0) << qPrintable(path);
        EXPECT_EQ(structure.quantdc.at(0), luminancedc) << qPrintable(path);
    }
}

TEST_F(ReencodeRun, WithoutProcessAllAsIsRowsStayAlone) {
    PhotoListModel list;
    const QString asis = photo(QStringLiteral("asis.jpg"));
    list.appendrow(QStringLiteral("asis.jpg"), label::asis, asis);
    list.appendrow(QStringLiteral("flip.jpg"), label::flipleft, photo(QStringLiteral("flip.jpg")));
    const QByteArray asisbytes = readbytes(asis);
    const RunOptions options = reencode(false);
    ASSERT_EQ(list.counttodolist(options.selection()), 1);
    list.makelist(options.selection());
    const auto reports = run(list.filelist(), options);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].photo.label, label::flipleft);
    EXPECT_EQ(readbytes(asis), asisbytes);
}

TEST_F(ReencodeRun, PhotosItCannotDecodeAreLeftByteForByteAndReported) {
    const QString truncated = dir.filePath(QStringLiteral("truncated.jpg"));
    writebytes(truncated, readbytes(photo(QStringLiteral("truncated.jpg"), 128, 128)).left(900));
    const QString cmyk = dir.filePath(QStringLiteral("cmyk.jpg"));
    writecmyk(cmyk, 16, 16);
    const QString heic = photo(QStringLiteral("jpeg.HEIC")); // JPEG data a Load Files choice let in
    const QString good = photo(QStringLiteral("good.jpg"));
    const WorkList work{
        {QStringLiteral("truncated.jpg"), label::rotatecw, truncated},
        {QStringLiteral("cmyk.jpg"), label::rotatecw, cmyk},
        {QStringLiteral("jpeg.HEIC"), label::rotatecw, heic},
        {QStringLiteral("good.jpg"), label::rotatecw, good},
    };
    QMap<QString, QByteArray> before;
    for (const PhotoRow& row : work)
        before[row.path] = readbytes(row.path);

    const auto reports = run(work, reencode(false));

    ASSERT_EQ(reports.size(), 4u);
    const char* says[] = {"can't be decoded", "CMYK", "isn't named as a JPEG file"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(reports[i].outcome, PhotoOutcome::Failed) << i;
        EXPECT_TRUE(reports[i].reason.contains(QLatin1String(says[i]))) << qPrintable(reports[i].reason);
        EXPECT_EQ(readbytes(work[i].path), before[work[i].path]) << qPrintable(work[i].name);
    }
    EXPECT_EQ(reports[3].outcome, PhotoOutcome::Turned);
    EXPECT_EQ(decodejpeg(good).width, 32);
    EXPECT_EQ(state.failures().size(), 3u);
    EXPECT_FALSE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))));
}

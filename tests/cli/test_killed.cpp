// pivotel-cli killed with SIGKILL at moments spread over a run: every photo must still be whole,
// either the original or the turned one, and the next start clears what the killed run left.
// PIVOTEL_STRESS=1 (the "stress" label) kills many more times.

#include "cli/clirun.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QTemporaryDir>
#include <QThread>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

constexpr int photocount = 30;

class Killed : public ::testing::TestWithParam<bool> {};

} // namespace

// The data folder on the photos' file system (the working file in it), or on another one (the
// working files beside the photos).
TEST_P(Killed, EveryPhotoStaysWhole) {
    QTemporaryDir scratch, photos,
        datahome(GetParam() ? u"/dev/shm/pivotel-XXXXXX"_s : QDir::tempPath() + u"/pivotel-XXXXXX"_s);
    const int kills = qEnvironmentVariableIntValue("PIVOTEL_STRESS") == 1 ? 16 : 3;
    std::vector<std::pair<QByteArray, Pixels>> kinds; // the original, and the turned one as it must decode
    for (const auto& [orientation, action] : {std::pair{6, Action::Rotate90Clockwise},
                                              {8, Action::Rotate90Counterclockwise},
                                              {3, Action::Rotate180}}) {
        writetaggedphoto(scratch.filePath(u"t.jpg"_s), 320, 240, orientation, 300);
        kinds.emplace_back(readbytes(scratch.filePath(u"t.jpg"_s)),
                           turned(decodejpeg(scratch.filePath(u"t.jpg"_s)), action));
    }
    auto photo = [&photos](int i) {
        return photos.filePath(u"photo %1.jpg"_s.arg(i, 2, 10, '0'_L1));
    };
    // How many photos are turned; fails for one neither the original nor a whole turned JPEG.
    auto checkwhole = [&](const std::string& when) {
        int turnedcount = 0;
        for (int i = 0; i < photocount; ++i) {
            const auto& [original, upright] = kinds[size_t(i) % kinds.size()];
            if (readbytes(photo(i)) == original)
                continue;
            try {
                EXPECT_LE(maxdifference(decodejpeg(photo(i)), upright), idcttolerance)
                    << when << ": photo " << i;
            } catch (const std::exception& error) {
                ADD_FAILURE() << when << ": photo " << i << " is not a whole JPEG: " << error.what();
            }
            ++turnedcount;
        }
        return turnedcount;
    };
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, datahome.path());
    for (int round = 0; round < kills; ++round) {
        for (const QString& name : QDir(photos.path()).entryList(QDir::Files | QDir::Hidden))
            QFile::remove(photos.filePath(name));
        for (int i = 0; i < photocount; ++i)
            writebytes(photo(i), kinds[size_t(i) % kinds.size()].first);
        // The photo in work at the kill, spread over the list, and how far into it.
        const int target = 1 + round * (photocount - 2) / kills;
        const QByteArray announced = u"[%1/%2]"_s.arg(target + 1).arg(photocount).toUtf8();
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setReadChannel(QProcess::StandardError);
        process.start(QStringLiteral(PIVOTEL_CLI), {photos.path()});
        QByteArray progress;
        while (!progress.contains(announced) && process.waitForReadyRead(30000))
            progress += process.readAllStandardError();
        QThread::msleep((round * 17) % 70);
        process.kill();
        process.waitForFinished(30000);
        ASSERT_TRUE(progress.contains(announced)) << "round " << round << ": " << progress.constData();
        // Every photo before the one in work was finished when it was announced.
        const std::string when = "after the kill at photo " + std::to_string(target);
        EXPECT_GE(checkwhole(when), target) << when;
    }

    const CliResult last = runcli({QStringLiteral(PIVOTEL_CLI), photos.path()}, datahome.path());
    EXPECT_EQ(last.exitcode, 0) << qPrintable(last.err);
    EXPECT_EQ(checkwhole("after the last run"), photocount);
    for (int i = 0; i < photocount; ++i)
        EXPECT_EQ(readtag(photo(i), u"IFD0:Orientation"_s, true), u"1"_s) << i;
    // Nothing of the killed runs is left: not beside the photos, not in the data folder.
    EXPECT_EQ(QDir(photos.path()).entryList(QDir::Files | QDir::Hidden).size(), photocount);
    EXPECT_EQ(QDir(datahome.filePath(u"com.zenthori.pivotel"_s)).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"xtemp.lock"_s});
}

INSTANTIATE_TEST_SUITE_P(DataFolder, Killed, ::testing::Values(false, true), [](const auto& info) {
    return info.param ? "OnAnotherFileSystem" : "BesideThePhotos";
});

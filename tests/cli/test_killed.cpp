// pivotel-cli killed with SIGKILL at many moments of a run: every photo must still be whole,
// either the original or the turned one, and the next start clears what the killed run left.

#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

constexpr int photocount = 30;
constexpr int kills = 8;

struct Template {
    QByteArray bytes;
    Pixels upright; // the turned photo, as it must decode
};

class Killed : public ::testing::Test {
  protected:
    void SetUp() override {
        const struct {
            int orientation;
            Action action;
        } kinds[] = {{6, Action::Rotate90}, {8, Action::Rotate270}, {3, Action::Rotate180}};
        for (const auto& kind : kinds) {
            const QString path = scratch.filePath(QStringLiteral("template.jpg"));
            writetaggedphoto(path, 320, 240, kind.orientation, 300);
            templates.push_back({readbytes(path), turned(decodejpeg(path), kind.action)});
        }
    }

    QString photo(int i) const {
        return photos.filePath(QStringLiteral("photo %1.jpg").arg(i, 2, 10, QLatin1Char('0')));
    }
    const Template& kind(int i) const { return templates[size_t(i) % templates.size()]; }

    void restore() {
        for (const QString& name : QDir(photos.path()).entryList(QDir::Files | QDir::Hidden))
            QFile::remove(photos.filePath(name));
        for (int i = 0; i < photocount; ++i)
            writebytes(photo(i), kind(i).bytes);
    }

    void startcli(QProcess& process, const QString& datahome) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), datahome);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(QStringLiteral(PIVOTEL_CLI), {photos.path()});
        ASSERT_TRUE(process.waitForStarted(30000));
    }

    // Whether each photo is whole: the original's bytes, or a JPEG with the turned pixels.
    // Returns how many are turned.
    int checkwhole(const char* when) {
        int turnedcount = 0;
        for (int i = 0; i < photocount; ++i) {
            const QByteArray bytes = readbytes(photo(i));
            if (bytes == kind(i).bytes)
                continue;
            Pixels pixels;
            try {
                pixels = decodejpeg(photo(i));
            } catch (const std::exception& error) {
                ADD_FAILURE() << when << ": photo " << i
                              << " is neither the original nor a whole JPEG: " << error.what();
                continue;
            }
            EXPECT_LE(maxdifference(pixels, kind(i).upright), idcttolerance) << when << ": photo " << i;
            ++turnedcount;
        }
        return turnedcount;
    }

    // Kills runs at photos spread over the list, each at its own moment within the photo, then
    // lets a last run finish what was left.
    void killrepeatedly(const QString& datahome) {
        for (int round = 0; round < kills; ++round) {
            restore();
            const int target = 1 + round * (photocount - 2) / kills; // the photo in work at the kill
            const int extrams = (round * 17) % 70;                   // and how far into it
            const QByteArray announced = QStringLiteral("[%1/%2]").arg(target + 1).arg(photocount).toUtf8();

            QProcess process;
            startcli(process, datahome);
            QByteArray progress;
            while (!progress.contains(announced) && process.state() == QProcess::Running) {
                process.waitForReadyRead(100);
                progress += process.readAllStandardError();
            }
            QThread::msleep(extrams);
            process.kill();
            process.waitForFinished(30000);
            ASSERT_TRUE(progress.contains(announced)) << "round " << round << ": " << progress.constData();

            const QByteArray when = "after the kill at photo " + QByteArray::number(target);
            // Every photo before the one in work was finished when it was announced.
            EXPECT_GE(checkwhole(when.constData()), target) << when.constData();
        }

        QProcess last;
        startcli(last, datahome);
        ASSERT_TRUE(last.waitForFinished(120000));
        EXPECT_EQ(last.exitCode(), 0) << last.readAllStandardError().constData();
        EXPECT_EQ(checkwhole("after the last run"), photocount);
        for (int i = 0; i < photocount; ++i)
            EXPECT_EQ(readtag(photo(i), QStringLiteral("IFD0:Orientation"), true), QStringLiteral("1")) << i;

        // Nothing of the killed runs is left: not beside the photos, not in the data folder.
        EXPECT_EQ(QDir(photos.path()).entryList(QDir::Files | QDir::Hidden).size(), photocount);
        const QDir data(datahome + QStringLiteral("/com.zenthori.pivotel"));
        EXPECT_EQ(data.entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("xtemp.lock")});
    }

    QTemporaryDir scratch, photos;
    std::vector<Template> templates;
};

} // namespace

TEST_F(Killed, EveryPhotoStaysWholeWithTheDataFolderBesideThePhotos) {
    QTemporaryDir datahome; // on the photos' file system: the working file is in the data folder
    killrepeatedly(datahome.path());
}

TEST_F(Killed, EveryPhotoStaysWholeWithTheDataFolderOnAnotherFileSystem) {
    QTemporaryDir datahome(QStringLiteral("/dev/shm/pivotel-XXXXXX")); // working files beside the photos
    killrepeatedly(datahome.path());
}

#include "engine/batchrun.h"
#include "photolist/labels.h"
#include "support/runfixture.h"
#include "support/testphotos.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Run : public RunFixture {};

} // namespace

TEST_F(Run, TurnsEachPhotoAndReportsTheOnesItCouldNot) {
    const QString cw = photo(QStringLiteral("cw.jpg"));
    const QString flip = photo(QStringLiteral("flip.jpg"));
    const QString damaged = dir.filePath(QStringLiteral("damaged.jpg"));
    writebytes(damaged, readbytes(photo(QStringLiteral("damaged.jpg"), 128, 128)).left(700));
    const QByteArray damagedbytes = readbytes(damaged);
    const Pixels cwbefore = decodejpeg(cw);
    const Pixels flipbefore = decodejpeg(flip);

    const WorkList work{
        {QStringLiteral("cw.jpg"), label::rotatecw, cw},
        {QStringLiteral("gone.jpg"), label::rotate180, dir.filePath(QStringLiteral("gone.jpg"))},
        {QStringLiteral("damaged.jpg"), label::rotatecw, damaged},
        {QStringLiteral("flip.jpg"), label::flipleft, flip},
    };
    const auto reports = run(work);

    ASSERT_EQ(reports.size(), 4u);
    const PhotoOutcome outcomes[] = {PhotoOutcome::Turned, PhotoOutcome::Missing, PhotoOutcome::Failed,
                                     PhotoOutcome::Turned};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(reports[i].outcome, outcomes[i]) << i;
        EXPECT_EQ(reports[i].row, qint64(i));
    }
    EXPECT_LE(maxdifference(decodejpeg(cw), turned(cwbefore, Action::Rotate90)), idcttolerance);
    EXPECT_LE(maxdifference(decodejpeg(flip), turned(flipbefore, Action::MirrorHorizontal)), idcttolerance);
    EXPECT_EQ(readbytes(damaged), damagedbytes);

    // Missing photos by display name, each behind a line end; the others with a reason.
    EXPECT_EQ(state.failedlist(), QStringLiteral("\ngone.jpg"));
    const auto failures = state.failures();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].name, QStringLiteral("damaged.jpg"));
    EXPECT_TRUE(failures[0].reason.contains(QStringLiteral("damaged"))) << qPrintable(failures[0].reason);

    EXPECT_TRUE(state.boliao);
    EXPECT_FALSE(state.isrunning);
    EXPECT_FALSE(state.candopreview);
    EXPECT_EQ(state.currentrow, 3);
    EXPECT_EQ(state.status(), QStringLiteral("Rotating flip.jpg"));
    EXPECT_FALSE(QFile::exists(data.filePath(QStringLiteral("xtemp.jpg"))));
}

TEST_F(Run, AllPhotosMissingStillEndsTheRun) {
    const WorkList work{
        {QStringLiteral("a.jpg"), label::rotatecw, dir.filePath(QStringLiteral("a.jpg"))},
        {QStringLiteral("b.jpg"), label::rotatecw, dir.filePath(QStringLiteral("b.jpg"))},
    };
    const auto reports = run(work);
    EXPECT_EQ(reports.size(), 2u);
    EXPECT_EQ(state.failedlist(), QStringLiteral("\na.jpg\nb.jpg"));
    EXPECT_TRUE(state.boliao);
    EXPECT_FALSE(state.isrunning);
}

TEST_F(Run, AnnouncesEveryPhotoInOrder) {
    const WorkList work{
        {QStringLiteral("one.jpg"), label::rotate180, photo(QStringLiteral("one.jpg"))},
        {QStringLiteral("two.jpg"), label::rotate180, photo(QStringLiteral("two.jpg"))},
    };
    BatchRun batch(work, {}, {data.path(), exiftoolpath()}, state);
    QSignalSpy started(&batch, &BatchRun::photostarted);
    QSignalSpy finished(&batch, &BatchRun::photofinished);
    batch.start();
    ASSERT_TRUE(batch.wait(QDeadlineTimer(120000)));
    QCoreApplication::processEvents();
    ASSERT_EQ(started.size(), 2);
    EXPECT_EQ(started[0][1].toString(), QStringLiteral("one.jpg"));
    EXPECT_EQ(started[1][0].toLongLong(), 1);
    EXPECT_EQ(finished.size(), 2);
}

TEST_F(Run, StopsAfterThePhotoInWork) {
    WorkList work;
    for (int i = 0; i < 3; ++i) {
        const QString name = QStringLiteral("p%1.jpg").arg(i);
        work.push_back({name, label::rotatecw, photo(name)});
    }
    BatchRun batch(work, {}, {data.path(), exiftoolpath()}, state);
    QObject::connect(
        &batch, &BatchRun::photostarted, &batch, [&batch](qint64, const QString&) { batch.requeststop(); },
        Qt::DirectConnection);
    batch.start();
    ASSERT_TRUE(batch.wait(QDeadlineTimer(120000)));
    ASSERT_EQ(batch.reports().size(), 1u);
    EXPECT_EQ(batch.reports()[0].outcome, PhotoOutcome::Turned);
    EXPECT_EQ(decodejpeg(work[1].path).width, 48); // untouched
    EXPECT_FALSE(state.isrunning);
}

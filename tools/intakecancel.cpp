// pivotel-intakecancel: how long a folder scan takes to stop once cancelled (bench/intakecancel.sh).
// Scans a tree of photos with an intake job, cancels it after a given time, and prints the
// milliseconds from the cancel to the job's end, and how many rows had arrived.

#include "photolist/intakejob.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>

using namespace pivotel;

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: pivotel-intakecancel FOLDER [AFTER_MS]\n", stderr);
        return 2;
    }
    const int afterms = arguments.size() > 2 ? arguments[2].toInt() : 200;
    IntakeJob job({{}, arguments[1], true}, AdmissionOptions{});
    qint64 rows = 0;
    QObject::connect(&job, &IntakeJob::rowsfound,
                     [&](const std::vector<PhotoRow>& found) { rows += static_cast<qint64>(found.size()); });
    QElapsedTimer clock;
    QTimer::singleShot(afterms, [&] {
        clock.start();
        job.cancel();
        const bool ended = job.wait();
        const double ms = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        std::printf("cancelled after %d ms with %lld rows in: ended %.2f ms later%s\n", afterms,
                    static_cast<long long>(rows), ms, ended ? "" : " (never)");
        QCoreApplication::quit();
    });
    QObject::connect(&job, &IntakeJob::finished, [&](bool cancelled) {
        if (!cancelled) {
            std::printf("the scan ended before the cancel; give a shorter AFTER_MS\n");
            QCoreApplication::exit(1);
        }
    });
    job.start();
    return QCoreApplication::exec();
}

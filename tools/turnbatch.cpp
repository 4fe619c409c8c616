// Turns a batch of photos a quarter turn losslessly, as a run with parallel jobs would: `jobs`
// photos at a time, each transform coding its scans on `threads` threads. Prints the wall time,
// to set beside other tools' on the same photos (bench/progressive.sh).
// Usage: pivotel-turnbatch JOBS THREADS OUTDIR PHOTO...

#include "jpeg/transform.h"
#include "support/fileio.h"
#include "support/memorypolicy.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

using namespace pivotel;

int main(int argc, char* argv[]) {
    restartwithhugepages(argv); // as pivotel-cli and the window run
    reusephotobuffers();
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 5) {
        std::fprintf(stderr, "usage: pivotel-turnbatch JOBS THREADS OUTDIR PHOTO...\n");
        return 2;
    }
    const int jobs = std::max(1, args[1].toInt());
    const int threads = std::max(1, args[2].toInt());
    const QDir out(args[3]);
    const QStringList photos = args.mid(4);

    QElapsedTimer timer;
    timer.start();
    std::atomic<int> next{0}, failed{0};
    const auto work = [&] {
        for (int i = next++; i < photos.size(); i = next++) {
            const auto data = readwholefile(photos[i]);
            const QString target = out.filePath(QFileInfo(photos[i]).fileName());
            if (!data ||
                !transformjpeg(*data, JpegTransform::Rotate90, EdgePolicy::Keep, target, threads).ok())
                ++failed;
        }
    };
    std::vector<std::thread> helpers;
    for (int j = 1; j < jobs; ++j)
        helpers.emplace_back(work);
    work();
    for (std::thread& helper : helpers)
        helper.join();
    std::printf("%.3f\n", double(timer.nsecsElapsed()) / 1e9);
    return failed ? 1 : 0;
}

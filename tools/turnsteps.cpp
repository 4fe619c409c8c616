// Times the steps of one photo's lossless turn that run in memory, to weigh the metadata steps
// and the check of the new file against the transform itself (bench/turnsteps.sh).
// Usage: pivotel-turnsteps PHOTO [ROUNDS] [THREADS]

#include "jpeg/exifpatch.h"
#include "jpeg/probe.h"
#include "jpeg/trailer.h"
#include "jpeg/transform.h"
#include "jpeg/verify.h"
#include "support/fileio.h"
#include "support/memorypolicy.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <functional>

using namespace pivotel;

namespace {

// The best of `rounds` timings of `step`, in milliseconds.
double best(int rounds, const std::function<void()>& step) {
    double fastest = 1e12;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        step();
        fastest = std::min(fastest, double(timer.nsecsElapsed()) / 1e6);
    }
    return fastest;
}

} // namespace

int main(int argc, char* argv[]) {
    restartwithhugepages(argv); // as pivotel-cli and the window run
    reusephotobuffers();
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: pivotel-turnsteps PHOTO [ROUNDS] [THREADS]\n");
        return 2;
    }
    const int rounds = args.size() > 2 ? args[2].toInt() : 5;
    const int threads = args.size() > 3 ? args[3].toInt() : 1;
    const auto original = readwholefile(args[1]);
    if (!original) {
        std::fprintf(stderr, "%s\n", qPrintable(original.reason()));
        return 1;
    }
    QTemporaryDir dir;
    const QString working = dir.filePath(QStringLiteral("turned.jpg"));
    bool ok = true;
    const double transform = best(rounds, [&] {
        ok = ok &&
             transformjpeg(*original, JpegTransform::Rotate90, EdgePolicy::Perfect, working, threads).ok();
    });
    QByteArray turned = readwholefile(working).value();
    const QByteArray trailer = trailerof(*original).value().toByteArray();
    const auto probe = probejpegdata(*original).value();
    QSize size = probe.size.transposed();
    const double patch = best(rounds, [&] {
        QByteArray copy = turned;
        ok = ok && setupright(copy, JpegTransform::Rotate90).ok() &&
             carrytrailer(*original, trailer, copy).ok();
    });
    (void)setupright(turned, JpegTransform::Rotate90);
    (void)carrytrailer(*original, trailer, turned);
    const double check = best(rounds, [&] {
        ok = ok && checkjpeg(turned, {size, probe.colorspace, trailer}, threads).ok();
    });
    if (!ok) {
        std::fprintf(stderr, "a step failed\n");
        return 1;
    }
    std::printf("%dx%d, best of %d, %d thread(s)\n", probe.size.width(), probe.size.height(), rounds,
                threads);
    std::printf("lossless transform:           %8.1f ms\n", transform);
    std::printf("EXIF set upright, trailer:    %8.1f ms (%.1f%%)\n", patch, 100 * patch / transform);
    std::printf("check of the new file:        %8.1f ms (%.1f%%)\n", check, 100 * check / transform);
    return 0;
}

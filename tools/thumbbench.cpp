// pivotel-thumbbench FOLDER: how the list's thumbnails keep up with a long list of big photos
// (bench/thumbnails.sh). Shows every .jpg of FOLDER in the list view and measures the time until
// the first screen of thumbnails shows, the time until every row has one, and, with an empty
// cache, the longest the main thread is held while the list is scrolled from top to bottom.

#include "photolist/photolistmodel.h"
#include "preview/thumbnail.h"
#include "support/memorypolicy.h"
#include "ui/photolistview.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>
#include <QThreadPool>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>

using namespace pivotel;

namespace {

// The view as the window sets it up: rows of 62, the label and thumbnail columns, and about the
// window's height of rows in view.
std::unique_ptr<PhotoListView> makeview(PhotoListModel& model) {
    auto view = std::make_unique<PhotoListView>();
    view->setModel(&model);
    view->verticalHeader()->setDefaultSectionSize(62);
    view->horizontalHeader()->resizeSection(PhotoListModel::LabelColumn, 230);
    view->horizontalHeader()->resizeSection(PhotoListModel::ThumbnailColumn, 80);
    view->hideColumn(PhotoListModel::PathColumn);
    view->resize(526, 507);
    view->show();
    return view;
}

QStringList rowsinview(PhotoListView& view, const PhotoListModel& model) {
    QStringList paths;
    const int first = view.rowAt(0);
    const int last = view.rowAt(view.viewport()->height() - 1);
    for (int row = first; row >= 0 && row <= (last < 0 ? model.count() - 1 : last); ++row)
        paths << model.row(row).path;
    return paths;
}

bool allmade(ThumbnailLoader& loader, const QStringList& paths) {
    return std::all_of(paths.begin(), paths.end(),
                       [&](const QString& path) { return !loader.lookup(path).wanted; });
}

// Runs the event loop until `done` holds, checking each millisecond.
void waitfor(const std::function<bool()>& done) {
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    check.start(1);
    loop.exec();
}

} // namespace

int main(int argc, char* argv[]) {
    restartwithhugepages(argv); // as the window runs
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fputs("usage: pivotel-thumbbench FOLDER\n", stderr);
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    std::vector<PhotoRow> rows;
    for (const QString& name : folder.entryList({QStringLiteral("*.jpg")}, QDir::Files, QDir::Name))
        rows.push_back({name, Action::AsIs, folder.filePath(name)});
    if (rows.empty())
        return 2;

    // One thumbnail, the median of five after one to warm up.
    QElapsedTimer clock;
    std::vector<double> times;
    (void)loadpicturefastfast(rows.front().path);
    for (int i = 0; i < 5; ++i) {
        clock.restart();
        (void)loadpicturefastfast(rows.front().path);
        times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e9);
    }
    std::sort(times.begin(), times.end());
    const double onedecode = times[2];

    // First screen and every row.
    PhotoListModel model;
    auto view = makeview(model);
    clock.restart();
    model.appendrows(rows);
    qint64 peakcache = 0;
    waitfor([&] {
        peakcache = std::max(peakcache, view->thumbnails().cachebytes());
        return allmade(view->thumbnails(), rowsinview(*view, model));
    });
    const double firstscreen = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    QStringList all;
    for (const PhotoRow& row : rows)
        all << row.path;
    waitfor([&] {
        peakcache = std::max(peakcache, view->thumbnails().cachebytes());
        return !view->thumbnails().busy() && allmade(view->thumbnails(), all);
    });
    const double everyrow = static_cast<double>(clock.nsecsElapsed()) / 1e9;

    // Scrolling with an empty cache: three rows a frame of 16 ms, from top to bottom, while the
    // longest gap between two turns of the event loop is noted.
    view.reset();
    PhotoListModel again;
    view = makeview(again);
    again.appendrows(rows);
    QScrollBar* bar = view->verticalScrollBar();
    waitfor([&] { return bar->maximum() > 0; });
    qint64 longest = 0;
    QElapsedTimer turn;
    turn.start();
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] { longest = std::max(longest, turn.restart()); });
    beat.start(0);
    QTimer scroll;
    QObject::connect(&scroll, &QTimer::timeout, [&] { bar->setValue(bar->value() + 3 * bar->singleStep()); });
    scroll.start(16);
    clock.restart();
    waitfor([&] { return bar->value() >= bar->maximum(); });
    const double scrolled = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    beat.stop();

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const int cores = QThreadPool::globalInstance()->maxThreadCount();
    std::printf("rows                        %zu\n", rows.size());
    std::printf("one 1/8 decode + scale      %.1f ms\n", onedecode * 1000);
    std::printf("first screen of thumbnails  %.3f s (target < 0.5 s)\n", firstscreen);
    std::printf("every row                   %.2f s (target <= %.2f s: rows x one decode / %d cores)\n",
                everyrow, static_cast<double>(rows.size()) * onedecode / cores, cores);
    std::printf(
        "scroll top to bottom        %.2f s (%d steps), main thread held at most %lld ms (target < 50 ms)\n",
        scrolled, bar->maximum() / 3, static_cast<long long>(longest));
    std::printf("cache at its peak           %.1f MB; process peak RSS %.0f MB\n",
                static_cast<double>(peakcache) / 1e6, static_cast<double>(usage.ru_maxrss) / 1024);
    return 0;
}

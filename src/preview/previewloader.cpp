#include "preview/previewloader.h"

#include "preview/previewpicture.h"

#include <QtConcurrent/QtConcurrentRun>

namespace pivotel {

PreviewLoader::PreviewLoader(QObject* parent) : QObject(parent) {
    connect(&watcher_, &QFutureWatcher<QImage>::finished, this, &PreviewLoader::done);
}

void PreviewLoader::request(const QString& path, QSize bounds) {
    if (watcher_.isRunning()) {
        waiting_ = Request{path, bounds};
        return;
    }
    begin({path, bounds});
}

void PreviewLoader::cancel() {
    waiting_.reset();
    dropresult_ = watcher_.isRunning();
}

void PreviewLoader::begin(const Request& request) {
    decoding_ = request.path;
    dropresult_ = false;
    // The task holds its own copies: it may outlive this loader, whose watcher then just
    // never hears of it.
    watcher_.setFuture(QtConcurrent::run(previewpicture, request.path, request.bounds));
}

void PreviewLoader::done() {
    const QImage picture = watcher_.result();
    const bool dropped = dropresult_;
    if (waiting_) {
        const Request next = *waiting_;
        waiting_.reset();
        begin(next);
    }
    // The newer request stands for what the viewer wants: this result would only flash by.
    if (!dropped && !watcher_.isRunning())
        emit loaded(decoding_, picture);
}

} // namespace pivotel

#include "preview/previewloader.h"

#include "preview/previewpicture.h"

#include <QtConcurrent/QtConcurrentRun>

namespace pivotel {

PreviewLoader::PreviewLoader(QObject* parent) : QObject(parent) {
    connect(&watcher_, &QFutureWatcher<QImage>::finished, this, &PreviewLoader::done);
}

void PreviewLoader::request(const QString& path, QSize bounds) {
    if (decoding_) {
        waiting_ = Request{path, bounds};
        return;
    }
    begin({path, bounds});
}

void PreviewLoader::cancel() {
    waiting_.reset();
    dropresult_ = decoding_.has_value();
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
    const QString path = *std::exchange(decoding_, std::nullopt);
    const bool dropped = dropresult_;
    if (waiting_) {
        // The newer request stands for what the viewer wants: this result would only flash by.
        begin(*std::exchange(waiting_, std::nullopt));
        return;
    }
    if (!dropped)
        emit loaded(path, picture);
}

} // namespace pivotel

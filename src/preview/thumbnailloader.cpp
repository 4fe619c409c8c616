#include "preview/thumbnailloader.h"

#include "preview/thumbnail.h"

#include <QMetaObject>

namespace pivotel {

namespace {

// What an entry costs besides its pixels: its path, its stamp, the cache's bookkeeping.
constexpr qint64 entryoverhead = 256;
// What a thumbnail of a 3:2 photo takes, for those under way.
constexpr qint64 typicalcost = qint64{160} * 107 * 3 + entryoverhead;

} // namespace

ThumbnailLoader::Made ThumbnailLoader::make(const QString& path) {
    const std::optional<FileStamp> before = filestamp(path);
    QImage picture = loadpicturefastfast(path);
    // A file rewritten while it was read gives a picture of neither state: it is made again.
    std::optional<FileStamp> stamp = before;
    if (filestamp(path) != before)
        stamp.reset();
    return {path, stamp, std::move(picture)};
}

ThumbnailLoader::ThumbnailLoader(qint64 cachebytes, QObject* parent) : QObject(parent) {
    cache_.setMaxCost(cachebytes);
    pool_.setObjectName(QStringLiteral("thumbnails"));
}

ThumbnailLoader::~ThumbnailLoader() {
    pool_.clear();
    pool_.waitForDone();
}

ThumbnailLoader::Lookup ThumbnailLoader::lookup(const QString& path) {
    const std::optional<FileStamp> stamp = filestamp(path);
    if (!stamp)
        return {{}, false};
    const Entry* entry = cache_.object(path);
    if (!entry)
        return {{}, true};
    return {entry->picture, entry->stamp != *stamp};
}

void ThumbnailLoader::want(const QStringList& paths) {
    wanted_ = paths;
    schedule();
}

void ThumbnailLoader::prefetch(const QStringList& paths) {
    list_ = paths;
    nextprefetch_ = 0;
    schedule();
}

bool ThumbnailLoader::hasroom() const {
    // A quarter is kept for the photos in view, which never push out one another.
    return cache_.totalCost() + running_ * typicalcost < cache_.maxCost() / 4 * 3;
}

void ThumbnailLoader::schedule() {
    while (running_ < pool_.maxThreadCount()) {
        QString next;
        // A wish may outlive its need: the view asks again while the first decodes are under way.
        while (next.isEmpty() && !wanted_.isEmpty()) {
            const QString path = wanted_.takeFirst();
            if (!decoding_.contains(path) && lookup(path).wanted)
                next = path;
        }
        while (next.isEmpty() && nextprefetch_ < list_.size() && hasroom()) {
            const QString& path = list_[nextprefetch_++];
            if (!decoding_.contains(path) && !cache_.contains(path))
                next = path;
        }
        if (next.isEmpty())
            return;
        decoding_.insert(next);
        ++running_;
        pool_.start([this, next] {
            const Made made = make(next);
            // Delivered on the loader's thread, or dropped with the loader.
            QMetaObject::invokeMethod(
                this, [this, made] { done(made); }, Qt::QueuedConnection);
        });
    }
}

void ThumbnailLoader::done(const Made& made) {
    --running_;
    decoding_.remove(made.path);
    if (made.stamp) {
        const qint64 cost = made.picture.sizeInBytes() + made.path.size() * 2 + entryoverhead;
        cache_.insert(made.path, new Entry{*made.stamp, made.picture}, cost);
    }
    emit ready(made.path);
    schedule();
}

} // namespace pivotel

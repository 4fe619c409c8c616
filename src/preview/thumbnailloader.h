#pragma once

#include "support/filestamp.h"

#include <QCache>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <deque>

namespace pivotel {

// Makes the list's thumbnails (loadpicturefastfast) on a pool of threads and keeps them in a
// cache bounded by bytes. A thumbnail belongs to one state of its file (its FileStamp: which file,
// size, modification and change time), so a photo that a run has turned gets a fresh one. The
// photos in view are decoded first, top to bottom; then, while the cache has room, the rest of
// the list in order, so that scrolling finds them ready.
class ThumbnailLoader : public QObject {
    Q_OBJECT
  public:
    // 80 MB holds the thumbnails of about 1,500 photos of 3:2.
    explicit ThumbnailLoader(qint64 cachebytes = qint64{80} * 1024 * 1024, QObject* parent = nullptr);
    // Waits for the decodes under way (one per thread); what is queued is dropped.
    ~ThumbnailLoader() override;

    struct Lookup {
        QImage picture; // what to draw: null for nothing
        bool wanted;    // no thumbnail of the file as it is now: it should be made
    };
    // What to draw for the photo at `path` now. A photo whose file has changed keeps its old
    // thumbnail until the new one is ready; a file that is gone has none. Reads the file's
    // stamp, not the file.
    [[nodiscard]] Lookup lookup(const QString& path);
    // The photos in view that lookup() found wanted, in the order they are shown; replaces the
    // wishes of the previous call.
    void want(const QStringList& paths);
    // Every photo of the list, in order, to be made while nothing is wanted and the cache has room.
    void prefetch(const QStringList& paths);

    [[nodiscard]] qint64 cachebytes() const { return cache_.totalCost(); }
    [[nodiscard]] bool busy() const { return running_ > 0; }

  signals:
    // A thumbnail was made (or found impossible) for the photo at `path`.
    void ready(const QString& path);

  private:
    struct Entry {
        FileStamp stamp;
        QImage picture;
    };
    struct Made {
        QString path;
        std::optional<FileStamp> stamp; // none when the file changed while it was read
        QImage picture;
    };
    // On a pool thread.
    static Made make(const QString& path);
    void schedule();
    [[nodiscard]] bool hasroom() const;
    void done(const Made& made);

    QCache<QString, Entry> cache_;
    QThreadPool pool_;
    QStringList wanted_;
    QStringList list_;
    qsizetype nextprefetch_ = 0;
    QSet<QString> decoding_;
    int running_ = 0;
};

} // namespace pivotel

#pragma once

#include <QFutureWatcher>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <optional>

namespace pivotel {

// Decodes preview pictures (previewpicture) off the main thread, one at a time. Of the requests
// that arrive while one is decoding, only the newest is decoded next: a viewer wants the photo
// asked for last, not a queue of those it has moved past.
class PreviewLoader : public QObject {
    Q_OBJECT
  public:
    explicit PreviewLoader(QObject* parent = nullptr);

    void request(const QString& path, QSize bounds);
    // Forgets the waiting request, and the decode under way gives nothing.
    void cancel();
    [[nodiscard]] bool busy() const { return decoding_.has_value(); }

  signals:
    // A decode has ended; a null picture when the photo could not be decoded.
    void loaded(const QString& path, const QImage& picture);

  private:
    struct Request {
        QString path;
        QSize bounds;
    };
    void begin(const Request& request);
    void done();

    QFutureWatcher<QImage> watcher_;
    std::optional<Request> waiting_;
    // The photo being decoded, until its end has been handled here (the watcher tells that
    // later than the task ends).
    std::optional<QString> decoding_;
    bool dropresult_ = false;
};

} // namespace pivotel

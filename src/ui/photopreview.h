#pragma once

#include "preview/previewloader.h"
#include "support/filestamp.h"

#include <QSize>
#include <QString>
#include <optional>

class QLabel;

namespace pivotel {

// Puts photos into the viewer `imagepreview`, each as it lies on disk, fitted to the viewer's
// present size (previewpicture), decoded off the main thread. The run's relay asks for the
// photo in work twenty times a second, and a big photo takes far longer than that to decode;
// so the last photo asked for is remembered by its path, its file's stamp and the viewer's
// size, and is decoded again only when one of those has changed. What is on show is always
// what the file held when it was read.
class PhotoPreview {
  public:
    explicit PhotoPreview(QLabel& viewer);

    // Shows the photo at `path` once decoded. A photo that can't be read or decoded leaves the
    // picture on show as it was.
    void show(const QString& path);
    [[nodiscard]] bool haspicture() const;
    // A picture is being decoded.
    [[nodiscard]] bool busy() const { return loader_.busy(); }
    // Empties the viewer.
    void clear();

  private:
    struct Asked {
        QString path;
        FileStamp stamp;
        QSize bounds;
        bool operator==(const Asked&) const = default;
    };

    QLabel& viewer_;
    PreviewLoader loader_;
    std::optional<Asked> lastasked_;
};

} // namespace pivotel

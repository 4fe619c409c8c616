#include "ui/photopreview.h"

#include <QLabel>
#include <QPixmap>

namespace pivotel {

PhotoPreview::PhotoPreview(QLabel& viewer) : viewer_(viewer) {
    QObject::connect(&loader_, &PreviewLoader::loaded, &viewer_,
                     [this](const QString&, const QImage& picture) {
                         if (!picture.isNull())
                             viewer_.setPixmap(QPixmap::fromImage(picture));
                     });
}

void PhotoPreview::show(const QString& path) {
    const std::optional<FileStamp> stamp = filestamp(path);
    if (!stamp)
        return;
    const Asked asked{path, *stamp, viewer_.contentsRect().size()};
    // The same file in the same state at the same size: what it gave is on show already, or it
    // gave nothing and the picture before stays.
    if (asked == lastasked_)
        return;
    lastasked_ = asked;
    loader_.request(path, asked.bounds);
}

bool PhotoPreview::haspicture() const {
    return !viewer_.pixmap().isNull();
}

void PhotoPreview::clear() {
    loader_.cancel();
    viewer_.clear();
    lastasked_.reset();
}

} // namespace pivotel

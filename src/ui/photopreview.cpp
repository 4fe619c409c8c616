#include "ui/photopreview.h"

#include "preview/previewpicture.h"

#include <QLabel>
#include <QPixmap>

namespace pivotel {

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
    const QImage picture = previewpicture(path, asked.bounds);
    if (!picture.isNull())
        viewer_.setPixmap(QPixmap::fromImage(picture));
}

bool PhotoPreview::haspicture() const {
    return !viewer_.pixmap().isNull();
}

void PhotoPreview::clear() {
    viewer_.clear();
    lastasked_.reset();
}

} // namespace pivotel

#include "ui/photopreview.h"

#include <QFileInfo>
#include <QLabel>
#include <QPixmap>

namespace pivotel {

PhotoPreview::PhotoPreview(QLabel& viewer) : viewer_(viewer) {
    QObject::connect(&loader_, &PreviewLoader::loaded, &viewer_,
                     [this](const QString& path, const QImage& picture) {
                         if (picture.isNull())
                             return;
                         // Made at the screen's own pixels, so that a scaled display shows it sharp.
                         QPixmap shown = QPixmap::fromImage(picture);
                         shown.setDevicePixelRatio(viewer_.devicePixelRatioF());
                         viewer_.setPixmap(shown);
                         viewer_.setAccessibleName(QFileInfo(path).fileName());
                     });
}

void PhotoPreview::show(const QString& path) {
    const std::optional<FileStamp> stamp = filestamp(path);
    if (!stamp)
        return;
    const Asked asked{path, *stamp, viewer_.contentsRect().size() * viewer_.devicePixelRatioF()};
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
    viewer_.setAccessibleName(QStringLiteral("Preview"));
    lastasked_.reset();
}

} // namespace pivotel

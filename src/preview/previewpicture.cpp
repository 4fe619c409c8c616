#include "preview/previewpicture.h"

#include "preview/loadpicturefast.h"
#include "preview/previewfit.h"

namespace pivotel {

QImage previewpicture(const QString& path, QSize bounds) {
    const auto fitted = [bounds](QSize photo) {
        return previewfit(photo, bounds);
    };
    const ReducedPicture loaded = loadpicturefast(path, fitted);
    const QSize shown = fitted(loaded.photosize);
    if (loaded.picture.isNull() || shown.isEmpty())
        return {};
    // Qt averages every pixel of the photo into the picture only from 32-bit pixels; from
    // 24-bit ones it samples, and fine detail would come out as false stripes.
    return loaded.picture.convertToFormat(QImage::Format_RGB32)
        .scaled(shown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace pivotel

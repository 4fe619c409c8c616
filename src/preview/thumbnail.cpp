#include "preview/thumbnail.h"

#include "preview/loadpicturefast.h"

namespace pivotel {

namespace {

constexpr int thumbnailside = 160;

int shorterside(int longer, int shorter) {
    const auto ratio = static_cast<float>(static_cast<double>(longer) / shorter);
    return std::max(1, static_cast<int>(thumbnailside / static_cast<double>(ratio)));
}

} // namespace

QSize thumbnailsize(QSize picture) {
    if (picture.isEmpty())
        return {};
    if (picture.height() < picture.width())
        return {thumbnailside, shorterside(picture.width(), picture.height())};
    return {shorterside(picture.height(), picture.width()), thumbnailside};
}

QImage loadpicturefastfast(const QString& path) {
    // Asking for less than any reduction gives the smallest one, 1/8, whatever the photo's size.
    const ReducedPicture decoded = loadpicturefast(path, [](QSize) { return QSize(1, 1); });
    if (decoded.picture.isNull())
        return {};
    return decoded.picture.scaled(thumbnailsize(decoded.picture.size()), Qt::IgnoreAspectRatio,
                                  Qt::SmoothTransformation);
}

} // namespace pivotel

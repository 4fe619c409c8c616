#include "preview/previewfit.h"

#include <algorithm>
#include <cmath>

namespace pivotel {

namespace {

// `length` times the ratio `numerator`/`denominator`, the ratio in single precision, the
// product truncated.
qint64 scaledlength(qint64 length, qint64 numerator, qint64 denominator) {
    const float ratio = static_cast<float>(static_cast<double>(numerator) / static_cast<double>(denominator));
    return static_cast<qint64>(std::trunc(static_cast<double>(length) * static_cast<double>(ratio)));
}

} // namespace

QSize previewfit(QSize picture, QSize bounds) {
    if (picture.isEmpty() || bounds.isEmpty())
        return {0, 0};
    const qint64 width = picture.width(), height = picture.height();
    qint64 w = width, h = height;
    // One pass settles every size a screen can have. With sizes near the limit of an int the
    // rounding of the ratios can make the two steps undo each other for ever, so the passes are
    // counted and the result is held within the bounds.
    for (int pass = 0; pass < 4 && (w > bounds.width() || h > bounds.height()); ++pass) {
        if (bounds.width() < w) {
            w = bounds.width();
            h = scaledlength(w, height, width);
        }
        if (bounds.height() < h) {
            h = bounds.height();
            w = scaledlength(h, width, height);
        }
    }
    w = std::clamp<qint64>(w, 1, bounds.width());
    h = std::clamp<qint64>(h, 1, bounds.height());
    return {static_cast<int>(w), static_cast<int>(h)};
}

} // namespace pivotel

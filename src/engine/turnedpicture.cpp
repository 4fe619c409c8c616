#include "engine/turnedpicture.h"

#include <cstring>

namespace pivotel {

namespace {

template <int B> inline void copypixel(const unsigned char* from, unsigned char* to) {
    for (int c = 0; c < B; ++c)
        to[c] = from[c];
}

template <int B> void reversed(const unsigned char* from, unsigned char* to, int width) {
    for (int x = 0; x < width; ++x)
        copypixel<B>(from + qsizetype(width - 1 - x) * B, to + qsizetype(x) * B);
}

// A quarter turn takes output rows from source columns. Walking the source row by row and
// taking a short run of pixels from each keeps both sides in the cache; reading whole columns
// would fetch a cache line per pixel.
template <int B>
void copystrip(const QImage& source, Action action, int first, int count, unsigned char* out,
               qsizetype stride) {
    const int width = source.width();
    const int height = source.height();
    switch (action) {
    case Action::None:
        for (int k = 0; k < count; ++k)
            std::memcpy(out + k * stride, source.constScanLine(first + k), size_t(width) * B);
        break;
    case Action::MirrorHorizontal:
        for (int k = 0; k < count; ++k)
            reversed<B>(source.constScanLine(first + k), out + k * stride, width);
        break;
    case Action::Rotate180:
        for (int k = 0; k < count; ++k)
            reversed<B>(source.constScanLine(height - 1 - (first + k)), out + k * stride, width);
        break;
    case Action::Rotate90: // clockwise: output row r is source column r, bottom to top
        for (int y = 0; y < height; ++y) {
            const unsigned char* from = source.constScanLine(y) + qsizetype(first) * B;
            unsigned char* to = out + qsizetype(height - 1 - y) * B;
            for (int k = 0; k < count; ++k)
                copypixel<B>(from + qsizetype(k) * B, to + k * stride);
        }
        break;
    case Action::Rotate270: // counterclockwise: output row r is source column width-1-r, top down
        for (int y = 0; y < height; ++y) {
            const unsigned char* from = source.constScanLine(y) + qsizetype(width - 1 - first) * B;
            unsigned char* to = out + qsizetype(y) * B;
            for (int k = 0; k < count; ++k)
                copypixel<B>(from - qsizetype(k) * B, to + k * stride);
        }
        break;
    }
}

bool quarterturn(Action action) {
    return action == Action::Rotate90 || action == Action::Rotate270;
}

} // namespace

TurnedPicture::TurnedPicture(QImage source, Action action) : source_(std::move(source)), action_(action) {
    if (source_.format() != QImage::Format_Grayscale8 && source_.format() != QImage::Format_RGB888)
        source_ = source_.convertToFormat(QImage::Format_RGB888);
    bytesperpixel_ = source_.format() == QImage::Format_Grayscale8 ? 1 : 3;
}

int TurnedPicture::width() const {
    return quarterturn(action_) ? source_.height() : source_.width();
}

int TurnedPicture::height() const {
    return quarterturn(action_) ? source_.width() : source_.height();
}

void TurnedPicture::copyrows(int first, int count, unsigned char* out, qsizetype stride) const {
    if (bytesperpixel_ == 1)
        copystrip<1>(source_, action_, first, count, out, stride);
    else
        copystrip<3>(source_, action_, first, count, out, stride);
}

} // namespace pivotel

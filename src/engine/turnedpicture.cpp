#include "engine/turnedpicture.h"

#include <algorithm>
#include <cstring>

namespace pivotel {

namespace {

template <int B> inline void copypixel(const unsigned char* from, unsigned char* to) {
    std::memcpy(to, from, B);
}

template <int B> void reversed(const unsigned char* from, unsigned char* to, int width) {
    const unsigned char* last = from + qsizetype(width - 1) * B;
    for (int x = 0; x < width; ++x)
        copypixel<B>(last - qsizetype(x) * B, to + qsizetype(x) * B);
}

// A quarter turn takes output rows from source columns. It goes over the source in tiles of
// a few rows by the strip's columns: within a tile each source row is read as one run and each
// output row is written as one run, so both stay in the cache and few pages are touched.
// Reading whole columns instead would fetch a cache line, and often a page, per pixel.
constexpr int tilerows = 16;

// Output row r is source column r (`fromleft`) or width-1-r, read bottom to top (`upward`) or top
// to bottom: clockwise from the left upward, counterclockwise from the right downward, a
// transpose from the left downward, a transverse from the right upward.
template <int B>
void quarterturn(const QImage& source, bool fromleft, bool upward, int first, int count, unsigned char* out,
                 qsizetype stride) {
    const int width = source.width();
    const int height = source.height();
    const unsigned char* from[tilerows];
    for (int y0 = 0; y0 < height; y0 += tilerows) {
        const int rows = std::min(tilerows, height - y0);
        for (int i = 0; i < rows; ++i)
            from[i] = source.constScanLine(y0 + i) + qsizetype(fromleft ? first : width - 1 - first) * B;
        const qsizetype step = fromleft ? B : -B;
        for (int k = 0; k < count; ++k) {
            unsigned char* to = out + k * stride;
            for (int i = 0; i < rows; ++i) {
                const int column = upward ? height - 1 - (y0 + i) : y0 + i;
                copypixel<B>(from[i] + k * step, to + qsizetype(column) * B);
            }
        }
    }
}

template <int B>
void copystrip(const QImage& source, Action action, int first, int count, unsigned char* out,
               qsizetype stride) {
    const int width = source.width();
    const int height = source.height();
    switch (action) {
    case Action::AsIs:
        for (int k = 0; k < count; ++k)
            std::memcpy(out + k * stride, source.constScanLine(first + k), size_t(width) * B);
        break;
    case Action::FlipLeft:
        for (int k = 0; k < count; ++k)
            reversed<B>(source.constScanLine(first + k), out + k * stride, width);
        break;
    case Action::Rotate180:
        for (int k = 0; k < count; ++k)
            reversed<B>(source.constScanLine(height - 1 - (first + k)), out + k * stride, width);
        break;
    case Action::FlipUpsideDown:
        for (int k = 0; k < count; ++k)
            std::memcpy(out + k * stride, source.constScanLine(height - 1 - (first + k)), size_t(width) * B);
        break;
    case Action::Rotate90Clockwise:
        quarterturn<B>(source, true, true, first, count, out, stride);
        break;
    case Action::Rotate90Counterclockwise:
        quarterturn<B>(source, false, false, first, count, out, stride);
        break;
    case Action::Transpose:
        quarterturn<B>(source, true, false, first, count, out, stride);
        break;
    case Action::Transverse:
        quarterturn<B>(source, false, true, first, count, out, stride);
        break;
    }
}

int pixelsize(QImage::Format format) {
    switch (format) {
    case QImage::Format_Grayscale8:
        return 1;
    case QImage::Format_RGB888:
        return 3;
    default:
        return 4;
    }
}

} // namespace

TurnedPicture::TurnedPicture(QImage source, Action action) : source_(std::move(source)), action_(action) {
    const QImage::Format format = source_.format();
    if (format != QImage::Format_RGBX8888 && format != QImage::Format_RGB888 &&
        format != QImage::Format_Grayscale8)
        source_ = source_.convertToFormat(QImage::Format_RGBX8888);
    bytesperpixel_ = pixelsize(source_.format());
}

int TurnedPicture::width() const {
    return swapssides(action_) ? source_.height() : source_.width();
}

int TurnedPicture::height() const {
    return swapssides(action_) ? source_.width() : source_.height();
}

void TurnedPicture::copyrows(int first, int count, unsigned char* out, qsizetype stride) const {
    switch (bytesperpixel_) {
    case 1:
        copystrip<1>(source_, action_, first, count, out, stride);
        break;
    case 3:
        copystrip<3>(source_, action_, first, count, out, stride);
        break;
    default:
        copystrip<4>(source_, action_, first, count, out, stride);
        break;
    }
}

} // namespace pivotel

#include "engine/turnedpicture.h"
#include "support/testphotos.h"
#include "support/testpictures.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// All rows of the turned picture, taken in strips of `strip` rows as an encoder would.
Pixels take(const TurnedPicture& turned, int strip) {
    const qsizetype stride = qsizetype(turned.width()) * turned.bytesperpixel() + 5; // rows need not touch
    std::vector<unsigned char> buffer(size_t(stride) * strip);
    QImage out(turned.width(), turned.height(), turned.format());
    for (int first = 0; first < turned.height(); first += strip) {
        const int count = std::min(strip, turned.height() - first);
        turned.copyrows(first, count, buffer.data(), stride);
        for (int k = 0; k < count; ++k)
            std::memcpy(out.scanLine(first + k), buffer.data() + k * stride,
                        size_t(turned.width()) * turned.bytesperpixel());
    }
    return pixelsof(out);
}

} // namespace

TEST(TurnedPicture, MovesEveryPixelExactly) {
    const Action actions[] = {Action::None, Action::Rotate90, Action::Rotate270, Action::Rotate180,
                              Action::MirrorHorizontal};
    const QSize sizes[] = {{64, 48}, {61, 45}, {1, 7}, {7, 1}, {33, 17}};
    for (const QSize& size : sizes) {
        const Pixels source = pattern(size.width(), size.height());
        for (const Action action : actions) {
            const Pixels expected = turned(source, action);
            for (const int strip : {16, 5, 1}) {
                const Pixels result = take(TurnedPicture(pictureof(source), action), strip);
                ASSERT_EQ(result.width, expected.width);
                ASSERT_EQ(result.height, expected.height);
                EXPECT_EQ(maxdifference(result, expected), 0)
                    << size.width() << "x" << size.height() << " action " << int(action) << " strip "
                    << strip;
            }
        }
    }
}

TEST(TurnedPicture, MovesGreyPixelsExactly) {
    const Pixels source = pixelsof(greypictureof(pattern(29, 19)));
    for (const Action action :
         {Action::None, Action::Rotate90, Action::Rotate270, Action::Rotate180, Action::MirrorHorizontal}) {
        const TurnedPicture picture(greypictureof(source), action);
        ASSERT_EQ(picture.bytesperpixel(), 1);
        EXPECT_EQ(maxdifference(take(picture, 16), turned(source, action)), 0) << int(action);
    }
}

TEST(TurnedPicture, TakesOtherFormatsAsRgbx) {
    const Pixels source = pattern(20, 10);
    const TurnedPicture picture(pictureof(source).convertToFormat(QImage::Format_RGB32), Action::Rotate90);
    EXPECT_EQ(picture.format(), QImage::Format_RGBX8888);
    EXPECT_EQ(maxdifference(take(picture, 16), turned(source, Action::Rotate90)), 0);
}

#include "preview/previewfit.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(PreviewFit, ShrinksToTheViewerAndNeverEnlarges) {
    const struct {
        QSize picture;
        QSize bounds;
        QSize fitted;
    } cases[] = {
        // The width bounds it: 4000/6000 in single precision, times 347, is 231.33.
        {{6000, 4000}, {347, 351}, {347, 231}},
        // First the width (347 by 520), then the height.
        {{4000, 6000}, {347, 351}, {234, 351}},
        {{200, 100}, {347, 351}, {200, 100}},
        {{347, 351}, {347, 351}, {347, 351}},
        {{400, 100}, {347, 351}, {347, 86}},
        {{100, 400}, {347, 351}, {87, 351}},
        {{348, 352}, {347, 351}, {347, 350}},
        {{352, 400}, {347, 351}, {308, 351}},
        // 0.7 in single precision is a little less than 0.7: ten times it truncates to 6.
        {{1000, 700}, {10, 100}, {10, 6}},
        // A line of one pixel keeps one pixel across.
        {{1, 5000}, {347, 351}, {1, 351}},
        {{5000, 1}, {347, 351}, {347, 1}},
        {{1, 1}, {347, 351}, {1, 1}},
        {{1, 1}, {1, 1}, {1, 1}},
        // Nothing to show in an empty viewer, nor of an empty picture.
        {{6000, 4000}, {0, 351}, {0, 0}},
        {{6000, 4000}, {347, 0}, {0, 0}},
        {{6000, 4000}, {-5, -5}, {0, 0}},
        {{0, 0}, {347, 351}, {0, 0}},
        {{0, 4000}, {347, 351}, {0, 0}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(previewfit(c.picture, c.bounds), c.fitted)
            << testing::PrintToString(c.picture) << " in " << testing::PrintToString(c.bounds);
}

TEST(PreviewFit, SizesAtTheLimitOfAnIntEndWithinTheViewer) {
    // Here the rounding of the two ratios makes the width and the height steps undo each other.
    const QSize bounds(502087620, 183790326);
    const QSize fitted = previewfit({1874033994, 685994433}, bounds);
    EXPECT_LE(fitted.width(), bounds.width());
    EXPECT_LE(fitted.height(), bounds.height());
    EXPECT_GE(fitted.width(), bounds.width() - 2);
    EXPECT_GE(fitted.height(), bounds.height() - 2);
}

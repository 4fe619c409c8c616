#include "photolist/action.h"
#include "photolist/extensions.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(Actions, EachHasOneLabelAndOneTokenReadBackIgnoringTheLabelsCase) {
    // "º" is U+00BA, the masculine ordinal indicator, not the degree sign.
    const struct {
        Action action;
        const char* label;
        const char* token;
    } cases[] = {{Action::AsIs, "As Is", "asis"},
                 {Action::Rotate90Clockwise, "Rotate 90\u00BA Clockwise", "cw"},
                 {Action::Rotate90Counterclockwise, "Rotate 90\u00BA Counterclockwise", "ccw"},
                 {Action::Rotate180, "Rotate 180\u00BA", "180"},
                 {Action::FlipLeft, "Flip Left", "flip"}};
    QStringList menu;
    for (const auto& c : cases) {
        const QString label = QString::fromUtf8(c.label);
        menu << label;
        EXPECT_EQ(labelof(c.action), label);
        EXPECT_EQ(tokenof(c.action), QLatin1String(c.token));
        EXPECT_EQ(actionforlabel(label.toUpper()), c.action) << c.label;
        EXPECT_EQ(actionforlabel(label.toLower()), c.action) << c.label;
        EXPECT_EQ(actionfortoken(QLatin1String(c.token)), c.action) << c.token;
    }
    EXPECT_EQ(actionlabels(), menu);
    for (const char* other : {"Fail", "Rotate 90\u00B0 Clockwise", "", "left"})
        EXPECT_EQ(actionforlabel(QString::fromUtf8(other)), std::nullopt) << other;
}

TEST(Actions, OrientationsThreeSixAndEightAskForATurnNoOtherDoes) {
    const Action expected[] = {Action::AsIs,
                               Action::AsIs,
                               Action::AsIs,
                               Action::Rotate180,
                               Action::AsIs,
                               Action::AsIs,
                               Action::Rotate90Clockwise,
                               Action::AsIs,
                               Action::Rotate90Counterclockwise,
                               Action::AsIs};
    for (int orientation = 0; orientation < 10; ++orientation)
        EXPECT_EQ(actionfororientation(orientation), expected[orientation]) << orientation;
}

TEST(Actions, CounterText) {
    for (const auto& [count, text] :
         {std::pair{0, "0 Photos"}, {1, "1 Photo"}, {2, "2 Photos"}, {12345, "12345 Photos"}})
        EXPECT_EQ(countertext(count), QLatin1String(text));
}

TEST(Extensions, ComparedWholeAtTheEndIgnoringCase) {
    using namespace extensions;
    const struct {
        const char* name;
        const QStringList& set;
        bool expected;
    } cases[] = {{"a.jpg", folderscan(), true},         {"a.JpEg", folderscan(), true},
                 {"a.jfif", folderscan(), true},        {"a.jpe", folderscan(), true},
                 {"a.jpg.png", folderscan(), false},    {"ajpg", folderscan(), false},
                 {"a.heic", folderscan(), false},       {"a.heic", loadfiles(), true},
                 {"a.jpe", loadpicturefast(), false},   {"a.JPE", loadpicture(), true},
                 {"x.photoslibrary", packages(), true}, {"Viewer.app", packages(), true}};
    for (const auto& c : cases)
        EXPECT_EQ(hasextension(QString::fromLatin1(c.name), c.set), c.expected) << c.name;
}

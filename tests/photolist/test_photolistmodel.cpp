#include "photolist/photolistmodel.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(SelectionRule, TakesEveryRowOnlyInAProcessAllRunWithoutLossless) {
    const struct {
        bool processall, lossless;
        Action action;
        bool taken;
    } cases[] = {{false, true, Action::AsIs, false},     {false, true, Action::Rotate90Clockwise, true},
                 {true, true, Action::AsIs, false},      {true, false, Action::AsIs, true},
                 {true, false, Action::Rotate180, true}, {false, false, Action::AsIs, false},
                 {false, false, Action::FlipLeft, true}};
    for (const auto& c : cases)
        EXPECT_EQ((SelectionRule{c.processall, c.lossless}.takes(c.action)), c.taken)
            << c.processall << c.lossless << int(c.action);
}

TEST(PhotoListModel, ShowsNameLabelAndPathUnderTheirHeaders) {
    PhotoListModel list;
    list.appendrow(QStringLiteral("a.jpg"), Action::Rotate90Clockwise, QStringLiteral("/x/a.jpg"));
    list.appendrow(QStringLiteral("a.jpg"), Action::AsIs, QStringLiteral("/x/a.jpg")); // twice is allowed
    list.setallactions(Action::FlipLeft);
    list.setaction(1, Action::Rotate180);
    list.setaction(2, Action::AsIs); // no such row: nothing happens
    const char* expected[3][4] = {{"Filename", "Orientation", "Full Path", " "},
                                  {"a.jpg", "Flip Left", "/x/a.jpg", ""},
                                  {"a.jpg", "Rotate 180\u00BA", "/x/a.jpg", ""}};
    ASSERT_EQ(list.rowCount(), 2);
    ASSERT_EQ(list.columnCount(), 4);
    for (int column = 0; column < 4; ++column) {
        EXPECT_EQ(list.headerData(column, Qt::Horizontal).toString(), QLatin1String(expected[0][column]));
        for (int row = 0; row < 2; ++row)
            EXPECT_EQ(list.data(list.index(row, column)).toString(),
                      QString::fromUtf8(expected[row + 1][column]));
    }
}

TEST(PhotoListModel, TheFileListPacksTheTakenRowsInOrderAndOutlivesClearing) {
    PhotoListModel list;
    const Action actions[] = {Action::AsIs, Action::AsIs, Action::Rotate90Clockwise, Action::AsIs,
                              Action::Rotate180};
    for (int i = 0; i < 5; ++i)
        list.appendrow(QStringLiteral("p%1.jpg").arg(i), actions[i],
                       QStringLiteral("/photos/p%1.jpg").arg(i));
    const SelectionRule rule{false, true};
    EXPECT_EQ(list.counttodolist(rule), 2);
    list.makelist(rule);
    list.clearlist();
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(list.thelistcount(), 2);
    ASSERT_EQ(list.filelist().size(), 2u);
    EXPECT_EQ(list.filelist()[0].name, QStringLiteral("p2.jpg"));
    EXPECT_EQ(list.filelist()[0].action, Action::Rotate90Clockwise);
    EXPECT_EQ(list.filelist()[0].path, QStringLiteral("/photos/p2.jpg"));
    EXPECT_EQ(list.filelist()[1].name, QStringLiteral("p4.jpg"));
}

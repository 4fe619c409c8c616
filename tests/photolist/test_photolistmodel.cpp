#include "photolist/labels.h"
#include "photolist/photolistmodel.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(SelectionRule, TakesEveryRowOnlyInAProcessAllRun) {
    const struct {
        bool processall;
        bool lossless;
        QString label;
        bool taken;
    } cases[] = {
        {false, true, label::asis, false},
        {false, true, QStringLiteral("as is"), false},
        {false, true, QStringLiteral("AS IS"), false},
        {false, true, label::rotatecw, true},
        {false, true, label::fail, true}, // not "As Is", so it goes into the run
        {true, true, label::asis, false}, // process-all needs lossless off
        {true, false, label::asis, true},
        {true, false, label::rotate180, true},
        {false, false, label::asis, false},
        {false, false, label::flipleft, true},
    };
    for (const auto& c : cases) {
        const SelectionRule rule{c.processall, c.lossless};
        EXPECT_EQ(rule.takes(c.label), c.taken)
            << "processall=" << c.processall << " lossless=" << c.lossless << " " << qPrintable(c.label);
    }
}

TEST(PhotoListModel, MakelistPacksTheTakenRowsInListOrder) {
    PhotoListModel list;
    const QString labels[] = {label::asis, label::asis, label::rotatecw,
                              label::asis, label::asis, label::rotate180};
    int i = 0;
    for (const QString& text : labels) {
        list.appendrow(QStringLiteral("p%1.jpg").arg(i), text, QStringLiteral("/photos/p%1.jpg").arg(i));
        ++i;
    }
    const SelectionRule rule{false, true};
    EXPECT_EQ(list.counttodolist(rule), 2);
    EXPECT_EQ(list.thelistcount(), 2);
    list.makelist(rule);
    ASSERT_EQ(list.filelist().size(), 2u);
    EXPECT_EQ(list.filelist()[0].name, QStringLiteral("p2.jpg"));
    EXPECT_EQ(list.filelist()[0].label, label::rotatecw);
    EXPECT_EQ(list.filelist()[0].path, QStringLiteral("/photos/p2.jpg"));
    EXPECT_EQ(list.filelist()[1].name, QStringLiteral("p5.jpg"));

    const SelectionRule processall{true, false};
    EXPECT_EQ(list.counttodolist(processall), 6);
    list.makelist(processall);
    EXPECT_EQ(list.filelist().size(), 6u);
}

TEST(PhotoListModel, RowsAndColumns) {
    PhotoListModel list;
    list.appendrow(QStringLiteral("a.jpg"), label::rotatecw, QStringLiteral("/x/a.jpg"));
    list.appendrow(QStringLiteral("a.jpg"), label::rotatecw, QStringLiteral("/x/a.jpg")); // twice is allowed
    EXPECT_EQ(list.rowCount(), 2);
    EXPECT_EQ(list.columnCount(), 4);
    EXPECT_EQ(list.data(list.index(1, PhotoListModel::NameColumn)).toString(), QStringLiteral("a.jpg"));
    EXPECT_EQ(list.data(list.index(1, PhotoListModel::LabelColumn)).toString(), label::rotatecw);
    EXPECT_EQ(list.data(list.index(1, PhotoListModel::PathColumn)).toString(), QStringLiteral("/x/a.jpg"));
    EXPECT_FALSE(list.data(list.index(1, PhotoListModel::ThumbnailColumn)).isValid());
    const char* headers[] = {"Filename", "Orientation", "Full Path", " "};
    for (int c = 0; c < 4; ++c)
        EXPECT_EQ(list.headerData(c, Qt::Horizontal).toString(), QString::fromLatin1(headers[c]));

    list.setalllabels(label::asis);
    EXPECT_EQ(list.row(0).label, label::asis);
    EXPECT_EQ(list.row(1).label, label::asis);
    list.setlabel(1, label::flipleft);
    list.setlabel(7, label::flipleft); // no such row: nothing happens
    EXPECT_EQ(list.row(1).label, label::flipleft);
}

TEST(PhotoListModel, ClearingKeepsTheLastRunsSnapshot) {
    PhotoListModel list;
    list.appendrow(QStringLiteral("a.jpg"), label::rotatecw, QStringLiteral("/x/a.jpg"));
    const SelectionRule rule{false, true};
    list.counttodolist(rule);
    list.makelist(rule);
    list.clearlist();
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(list.thelistcount(), 1);
    EXPECT_EQ(list.filelist().size(), 1u);
    EXPECT_EQ(list.counttodolist(rule), 0);
}

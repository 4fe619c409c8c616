#include "photolist/extensions.h"
#include "photolist/photolistmodel.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(Actions, EachHasOneLabelAndOneTokenReadBackIgnoringTheLabelsCase) {
    // In menu order. "º" is U+00BA, the masculine ordinal indicator, not the degree sign.
    const QStringList labels =
        QString::fromUtf8("As Is|Rotate 90º Clockwise|Rotate 90º Counterclockwise|Rotate 180º|Flip Left")
            .split(u'|');
    const QStringList tokens = QStringLiteral("asis cw ccw 180 flip").split(u' ');
    EXPECT_EQ(actionlabels(), labels);
    for (size_t i = 0; i < allactions.size(); ++i) {
        EXPECT_EQ(labelof(allactions[i]), labels[i]);
        EXPECT_EQ(tokenof(allactions[i]), tokens[i]);
        EXPECT_EQ(actionforlabel(labels[i].toUpper()), allactions[i]) << qPrintable(labels[i]);
        EXPECT_EQ(actionforlabel(labels[i].toLower()), allactions[i]) << qPrintable(labels[i]);
        EXPECT_EQ(actionfortoken(tokens[i]), allactions[i]) << qPrintable(tokens[i]);
    }
    EXPECT_EQ(actionforlabel(QStringLiteral("Fail")), std::nullopt);
    EXPECT_EQ(actionforlabel(QString::fromUtf8("Rotate 90° Clockwise")), std::nullopt);
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

// The folder scan's and the preview's sets are tested with them.
TEST(Extensions, ComparedWholeAtTheEndIgnoringCase) {
    using namespace extensions;
    EXPECT_TRUE(hasextension(QStringLiteral("a.Heic"), loadfiles()));
    EXPECT_TRUE(hasextension(QStringLiteral("a.JPE"), loadpicture()));
    EXPECT_TRUE(hasextension(QStringLiteral("x.photoslibrary"), packages()));
    EXPECT_FALSE(hasextension(QStringLiteral("a.heic"), folderscan()));
}

TEST(PhotoListModel, ShowsNameLabelAndPathUnderTheirHeaders) {
    PhotoListModel list;
    list.appendrow(QStringLiteral("a.jpg"), Action::Rotate90Clockwise, QStringLiteral("/x/a.jpg"));
    list.appendrow(QStringLiteral("a.jpg"), Action::AsIs, QStringLiteral("/x/a.jpg")); // twice is allowed
    list.setallactions(Action::FlipLeft);
    list.setaction(1, Action::Rotate180);
    list.setaction(2, Action::AsIs); // no such row: nothing happens
    QStringList shown;
    for (int row = -1; row < list.rowCount(); ++row) {
        for (int column = 0; column < list.columnCount(); ++column)
            shown << (row < 0 ? list.headerData(column, Qt::Horizontal) : list.data(list.index(row, column)))
                         .toString();
    }
    EXPECT_EQ(shown.join(u'|'),
              QString::fromUtf8("Filename|Orientation|Full Path| |a.jpg|Flip Left|/x/a.jpg||"
                                "a.jpg|Rotate 180º|/x/a.jpg|"));
}

TEST(PhotoListModel, TheFileListPacksTheRowsTheRuleTakesInOrderAndOutlivesClearing) {
    const struct {
        bool processall, lossless;
        const char* taken; // the names of the rows taken
    } cases[] = {{false, true, "b d"}, {true, true, "b d"}, {false, false, "b d"}, {true, false, "a b c d"}};
    for (const auto& c : cases) {
        PhotoListModel list;
        for (const auto& [name, action] : {std::pair{"a", Action::AsIs},
                                           {"b", Action::FlipLeft},
                                           {"c", Action::AsIs},
                                           {"d", Action::Rotate90Clockwise}})
            list.appendrow(QLatin1String(name), action, QStringLiteral("/x/") + QLatin1String(name));
        const SelectionRule rule{c.processall, c.lossless};
        const qint64 count = list.counttodolist(rule);
        list.makelist(rule);
        list.clearlist();
        QStringList taken;
        for (const PhotoRow& row : list.filelist()) {
            EXPECT_EQ(row.path, QStringLiteral("/x/") + row.name);
            EXPECT_EQ(row.action == Action::AsIs, row.name == u'a' || row.name == u'c');
            taken << row.name;
        }
        EXPECT_EQ(taken.join(u' '), QLatin1String(c.taken)) << c.processall << c.lossless;
        EXPECT_EQ(list.thelistcount(), count);
        EXPECT_EQ(count, taken.size());
        EXPECT_EQ(list.count(), 0);
    }
}

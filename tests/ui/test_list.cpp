#include "photolist/photolistmodel.h"
#include "ui/photolistdelegate.h"
#include "ui/photolistview.h"
#include "windowtest.h"

#include <QApplication>
#include <QMimeData>
#include <QScrollBar>
#include <algorithm>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class List : public WindowTest {
  protected:
    PhotoListView* view() const { return static_cast<PhotoListView*>(list()); }
    QPoint cell(int row, int column) const {
        return list()->visualRect(list()->model()->index(row, column)).center();
    }
    void contextmenu() {
        QContextMenuEvent event(QContextMenuEvent::Mouse, cell(0, 0),
                                list()->viewport()->mapToGlobal(cell(0, 0)));
        QApplication::sendEvent(list()->viewport(), &event);
        settle();
    }
    QString label(int row) const {
        return list()->model()->index(row, PhotoListModel::LabelColumn).data().toString();
    }
    QFont font(int row) const {
        QStyleOptionViewItem option;
        static_cast<PhotoListDelegate*>(list()->itemDelegate())
            ->initStyleOption(&option, list()->model()->index(row, 0));
        return option.font;
    }
    QSize thumbnail(const char* name) const { return view()->thumbnail(path(name)).size(); }
};

} // namespace

TEST_F(List, PopUpsAndSetAllLabelTheRowsAndAnUnreadablePhotoFailsInTheRun) {
    dialogs.picks = {std::nullopt};
    contextmenu();
    EXPECT_EQ(dialogs.menus.takeFirst(),
              "Set All to As Is|Set All to Rotate 90º Clockwise|Set All to Rotate 90º "
              "Counterclockwise|Set All to Rotate 180º|Set All to Flip Left|Set All to "
              "EXIF Orientation Check|Set All to Picture Check(greyed)");
    load({{"a.jpg", 6, {96, 64}}, {"b.jpg", 7}, {"c.jpg", 8}});
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:transverse c.jpg:ccw");
    // Pressing the label selects the row and chooses; a dismissal changes nothing; the keyboard
    // does the same as the mouse. The mirrored orientations' actions follow a separator.
    dialogs.picks = {3, std::nullopt, 7};
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, cell(1, PhotoListModel::LabelColumn));
    EXPECT_EQ(list()->currentIndex().row(), 1);
    QTest::keyClick(list(), Qt::Key_Down);
    QTest::keyClick(list(), Qt::Key_Space);
    QTest::keyClick(list(), Qt::Key_Return);
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:180 c.jpg:transpose");
    EXPECT_EQ(dialogs.menus, QStringList(3, "As Is|Rotate 90º Clockwise|Rotate 90º Counterclockwise|Rotate "
                                            "180º|Flip Left||Flip Upside Down|Rotate 90º Clockwise and Flip "
                                            "Left|Rotate 90º Counterclockwise and Flip Left"));
    EXPECT_EQ(font(2).pixelSize() * 10 + font(2).bold() + font(2).italic(), 142);
    EXPECT_EQ(font(0).pixelSize() * 10 + font(0).bold() + font(0).italic(), 120);

    dialogs.picks = {0};
    contextmenu();
    EXPECT_EQ(rows(), "a.jpg:asis b.jpg:asis c.jpg:asis");
    // The check reads each photo again: c.jpg no longer reads as an image and goes into the run,
    // which leaves it untouched.
    const QByteArray c = readbytes(path("c.jpg")).left(100);
    writebytes(path("c.jpg"), c);
    dialogs.picks = {5};
    contextmenu();
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:transverse c.jpg:asis");
    EXPECT_EQ(label(2), "Fail");

    ASSERT_TRUE(QTest::qWaitFor([&] { return thumbnail("a.jpg") == QSize(160, 106); }));
    press("start");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_TRUE(dialogs.told.last().contains("Left Unchanged\n\nc.jpg: its EXIF orientation can't be read"))
        << dialogs.told.last().toStdString();
    EXPECT_EQ(readbytes(path("c.jpg")), c);
    EXPECT_EQ(label(2), "As Is");
    // The turned photo's thumbnail is made again.
    EXPECT_TRUE(QTest::qWaitFor([&] { return thumbnail("a.jpg") == QSize(106, 160); }));
}

TEST_F(List, PictureCheckSuggestsAnUprightOnlyForRowsWithoutAnOrientationToGoBy) {
    const QImage faces(QStringLiteral(PIVOTEL_TEST_FACES));
    ASSERT_FALSE(faces.isNull()) << "needs Debian's opencv-doc for a photo of faces";
    // Faces turned a quarter counterclockwise, tagged with an orientation (0: none).
    const auto turnedfaces = [&](const char* name, int orientation) {
        ASSERT_TRUE(faces.transformed(QTransform().rotate(-90)).save(path(name), "JPEG", 90));
        QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 24);
        if (orientation != 0)
            insertsegment(path(name), 0xE1, exif.append(char(0)).append(char(orientation)).append(6, '\0'));
    };
    turnedfaces("a.jpg", 0);
    turnedfaces("b.jpg", 1);
    turnedfaces("c.jpg", 2); // mirrored: the orientation decides, whatever the picture shows
    photo({"d.jpg", 6});
    photo({"e.jpg"});
    loadfolder(dir.path(), false);
    dialogs.picks = {3}; // all to 180º: the check changes only what it suggests
    contextmenu();
    dialogs.picks = {static_cast<int>(allactions.size()) + 1};
    contextmenu();
    settle();
    EXPECT_EQ(rows(), "a.jpg:cw b.jpg:cw c.jpg:180 d.jpg:180 e.jpg:180");
    EXPECT_EQ(rowcounter(), "5 Photos");
    // Only the first two were suggested, and say by what; nothing was turned.
    const auto tip = [&](int row) {
        return list()->model()->index(row, PhotoListModel::LabelColumn).data(Qt::ToolTipRole).toString();
    };
    EXPECT_TRUE(tip(0).contains("upright after a quarter turn")) << qPrintable(tip(0));
    EXPECT_EQ(tip(1), tip(0));
    EXPECT_EQ(tip(2) + tip(3) + tip(4), "");
    EXPECT_EQ(QImage(path("a.jpg")).size(), faces.transformed(QTransform().rotate(-90)).size());
    dialogs.picks = {0};
    contextmenu();
    EXPECT_EQ(tip(0), "");
}

TEST_F(List, APictureCheckUnderWayCanBeStoppedFromTheMenuAndKeepsWhatItSaw) {
    const QImage faces = QImage(QStringLiteral(PIVOTEL_TEST_FACES)).transformed(QTransform().rotate(-90));
    ASSERT_FALSE(faces.isNull()) << "needs Debian's opencv-doc for a photo of faces";
    constexpr int photos = 40;
    for (int i = 0; i < photos; ++i)
        ASSERT_TRUE(
            faces.save(path(qPrintable(QStringLiteral("f%1.jpg").arg(i, 2, 10, QLatin1Char('0')))), "JPEG"));
    loadfolder(dir.path(), false);
    // Started, then stopped at once from the same menu: the check can't have seen 40 photos.
    const int check = static_cast<int>(allactions.size()) + 1;
    dialogs.picks = {check, check, check};
    for (int i = 0; i < 2; ++i) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, cell(0, 0),
                                list()->viewport()->mapToGlobal(cell(0, 0)));
        QApplication::sendEvent(list()->viewport(), &event);
    }
    settle();
    EXPECT_TRUE(dialogs.menus.takeLast().endsWith("|Stop the Picture Check"));
    EXPECT_EQ(rowcounter(), QStringLiteral("%1 Photos").arg(photos));
    const QStringList labels = rows().split(' ');
    const auto suggested =
        std::count_if(labels.begin(), labels.end(), [](const QString& r) { return r.endsWith(":cw"); });
    EXPECT_LT(suggested, photos) << qPrintable(rows());
    EXPECT_EQ(suggested + labels.filter(":asis").size(), photos) << qPrintable(rows());
    // Started again, it runs to the end.
    contextmenu();
    EXPECT_TRUE(dialogs.menus.takeLast().endsWith("|Set All to Picture Check"));
    EXPECT_EQ(rows().count(":cw"), photos) << qPrintable(rows());
}

TEST_F(List, TheNameColumnTakesTheRestOfTheWidthButNeverLessThan150) {
    for (const int width : {900, 300}) {
        list()->resize(width, 400);
        QApplication::sendPostedEvents();
        const int rest = list()->viewport()->width() - 230 - 80;
        EXPECT_EQ(list()->columnWidth(PhotoListModel::NameColumn), std::max(150, rest)) << width;
        EXPECT_EQ(list()->horizontalScrollBar()->maximum() > 0, rest < 150) << width;
    }
}

TEST_F(List, DropsAppendFilesAndFoldersUpToAnItemWithoutAFileAndDeleteTakesRowsOff) {
    for (const Photo& p : {Photo{"d/x.jpg", 6}, {"d/sub/y.jpg", 3}, {"z.JPEG"}, {"q.jpg"}})
        photo(p);
    writebytes(path("t.jpg"), "not a photo");
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path("z.JPEG")), QUrl::fromLocalFile(path("d")),
                  QUrl::fromLocalFile(path("t.jpg")), QUrl("https://example.com/w.jpg"),
                  QUrl::fromLocalFile(path("q.jpg"))});
    for (int twice = 0; twice < 2; ++twice) {
        QDragEnterEvent enter(cell(0, 0), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list()->viewport(), &enter);
        QDropEvent drop(cell(0, 0), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list()->viewport(), &drop);
        settle();
    }
    EXPECT_EQ(rows(), "z.JPEG:asis y.jpg:180 x.jpg:cw z.JPEG:asis y.jpg:180 x.jpg:cw");
    list()->selectRow(1);
    QTest::keyClick(list(), Qt::Key_Delete);
    QTest::keyClick(list(), Qt::Key_Backspace);
    EXPECT_EQ(rows(), "z.JPEG:asis z.JPEG:asis y.jpg:180 x.jpg:cw");
    EXPECT_TRUE(QFileInfo::exists(path("d/x.jpg")));
    EXPECT_EQ(rowcounter(), "4 Photos");
}

#include "photolist/photolistmodel.h"
#include "windowtest.h"

#include <QAccessible>
#include <QApplication>
#include <QMimeData>
#include <QPainter>
#include <QProgressBar>
#include <QRandomGenerator>

using namespace pivotel;
using namespace pivotel::test;

namespace {

using Keyboard = WindowTest;
using Access = WindowTest;
using Scaled = WindowTest;
using Stop = WindowTest;

// Every control one can act on, by role, and the name a screen reader says for it.
void walk(QAccessibleInterface* node, QStringList& unnamed, QStringList& named, int depth = 0) {
    static const QList<QAccessible::Role> interactive = {
        QAccessible::PushButton, QAccessible::CheckBox, QAccessible::RadioButton,  QAccessible::ComboBox,
        QAccessible::Slider,     QAccessible::SpinBox,  QAccessible::EditableText, QAccessible::Table,
        QAccessible::Cell,       QAccessible::PageTab,  QAccessible::ButtonMenu,   QAccessible::ProgressBar};
    if (!node || depth > 40 || node->state().invisible)
        return;
    if (interactive.contains(node->role()) || node->state().focusable) {
        const QString name = node->text(QAccessible::Name).trimmed();
        const QString who = node->object() ? node->object()->objectName() : QString();
        (name.isEmpty() ? unnamed : named)
            << (name.isEmpty() ? who + '/' + QString::number(node->role()) : name);
    }
    for (int i = 0; i < node->childCount(); ++i)
        walk(node->child(i), unnamed, named, depth + 1);
}

} // namespace

TEST_F(Keyboard, TabStepsThroughTheControlsOnceEachAndHomeAndEndReachTheEndsOfTheList) {
    load({{"a.jpg"}, {"b.jpg"}, {"c.jpg"}});
    list()->setFocus();
    QStringList order;
    for (int i = 0; i < 12 && (order.isEmpty() || order.last() != "Listbox1"); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        order << QApplication::focusWidget()->objectName();
    }
    EXPECT_EQ(order.join(' '), "imagepreview qt_tabwidget_tabbar useexiforientation onlyloadwhenneeded "
                               "uselosslessrotation preserveDATES oddsizes parallel Listbox1");
    const struct {
        Qt::Key key;
        int row;
    } moves[] = {{Qt::Key_End, 2}, {Qt::Key_Up, 1}, {Qt::Key_Home, 0}, {Qt::Key_Down, 1}};
    for (const auto& move : moves) {
        QTest::keyClick(list(), move.key);
        EXPECT_EQ(list()->currentIndex().row(), move.row) << move.key;
    }
}

TEST_F(Access, EveryControlHasANameAndRowsAndThePreviewReadAsTheirPhotos) {
    load({{"a.jpg", 6}});
    pressrow(0);
    QStringList unnamed, named;
    walk(QAccessible::queryAccessibleInterface(window.get()), unnamed, named);
    EXPECT_EQ(unnamed, QStringList());
    for (const char* name : {"Photo list", "JPEG quality", "a.jpg, Rotate 90º Clockwise",
                             "Thumbnail of a.jpg", "a.jpg", "Start", "Use Lossless Rotation", "Parallel"})
        EXPECT_TRUE(named.contains(QString::fromUtf8(name))) << name;
    EXPECT_EQ(QAccessible::queryAccessibleInterface(child("imagepreview"))->text(QAccessible::Name), "a.jpg");
}

TEST_F(Scaled, ThePreviewIsMadeAtTheScreensOwnPixels) {
    // Blocks of 6 pixels in random greys: a picture enlarged after a shrink loses their edges.
    QImage picture(1500, 1000, QImage::Format_RGB32);
    QPainter painter(&picture);
    QRandomGenerator random(26);
    for (int y = 0; y < picture.height(); y += 6) {
        for (int x = 0; x < picture.width(); x += 6)
            painter.fillRect(x, y, 6, 6, QColor::fromHsv(0, 0, static_cast<int>(random.bounded(256))));
    }
    painter.end();
    ASSERT_TRUE(picture.save(path("a.jpg"), "JPEG", 100));
    loadfolder(dir.path(), false);
    pressrow(0);
    const QLabel* viewer = child("imagepreview");
    const QPixmap shown = viewer->pixmap();
    const qreal scale = viewer->devicePixelRatioF();
    ASSERT_FALSE(shown.isNull());
    EXPECT_EQ(shown.devicePixelRatio(), scale);
    const QImage sharp =
        QImage(path("a.jpg"))
            .scaled(viewer->contentsRect().size() * scale, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QImage made = shown.toImage().convertToFormat(sharp.format());
    ASSERT_EQ(made.size(), sharp.size());
    qint64 difference = 0;
    for (int y = 0; y < made.height(); ++y) {
        for (int x = 0; x < made.width(); ++x)
            difference += std::abs(qGray(made.pixel(x, y)) - qGray(sharp.pixel(x, y)));
    }
    EXPECT_LT(difference / (made.width() * made.height()), 6) << "at scale " << scale;
}

TEST_F(Stop, EscapeEndsTheRunAfterItsPhotoInWorkTheRestKeepTheirActionsAsDoRowsAddedMeanwhile) {
    load({{"a.jpg", 6}, {"b.jpg", 6}, {"c.jpg", 3}, {"d.jpg"}});
    const QByteArray b = readbytes(path("b.jpg"));
    std::vector<UniqueFd> held = startheldrun();
    const auto* progress = child<QProgressBar>("runprogress");
    EXPECT_TRUE(progress->isVisible());
    EXPECT_EQ(progress->text(), "0 of 3");
    EXPECT_EQ(rowcounter(), "Rotating a.jpg"); // the status text stays as it was
    window->takepaths({photo({"e.jpg", 8})});
    settle();
    QTest::keyClick(list(), Qt::Key_Escape);
    held.clear();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told.last(), "Stopped\n\nNot Done:\nb.jpg: stopped\nc.jpg: stopped");
    EXPECT_EQ(rowcounter(), "Stopped");
    EXPECT_FALSE(progress->isVisible());
    EXPECT_EQ(rows(), "a.jpg:asis b.jpg:cw c.jpg:180 d.jpg:asis e.jpg:ccw");
    EXPECT_EQ(readbytes(path("b.jpg")), b);

    // The next run takes up what was left, and a run to its end reads "All Done".
    press("start");
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(dialogs.told.last(), "All Done");
    EXPECT_EQ(rows(), "a.jpg:asis b.jpg:asis c.jpg:asis d.jpg:asis e.jpg:asis");
}

TEST_F(Access, RefusedDropsAreCountedOnTheStatusLine) {
    writebytes(path("notes.txt"), "x");
    const struct {
        QList<QUrl> urls;
        const char* note;
    } cases[] = {
        {{QUrl::fromLocalFile(photo({"a.jpg"}))}, ""},
        {{QUrl::fromLocalFile(path("notes.txt"))}, "1 dropped item not taken: 1 not a JPEG photo"},
        {{QUrl::fromLocalFile(path("notes.txt")), QUrl("https://example.com/w.jpg"),
          QUrl::fromLocalFile(path("a.jpg"))},
         "3 dropped items not taken: 1 not a JPEG photo, 2 at or after an item that isn't a file"},
    };
    for (const auto& c : cases) {
        QMimeData data;
        data.setUrls(c.urls);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list()->viewport(), &enter);
        QDropEvent drop(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list()->viewport(), &drop);
        settle();
        EXPECT_EQ(child("statusnote")->text(), c.note);
    }
}

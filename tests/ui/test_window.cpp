#include "app/app.h"
#include "support/appidentity.h"
#include "support/places.h"
#include "ui/maintoolbar.h"
#include "windowtest.h"

#include <QApplication>
#include <QDir>
#include <QHeaderView>
#include <QSplitter>
#include <QTabWidget>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Window : public WindowTest {
  protected:
    // Types into the quality field as a user does: focus in, select all, type.
    void type(const QString& text) {
        qualityfield()->setFocus();
        qualityfield()->selectAll();
        QTest::keyClick(qualityfield(), Qt::Key_Delete);
        QTest::keyClicks(qualityfield(), text);
    }
    void leavefield() { checkbox("preserveDATES")->setFocus(); }
    void expectqualityenabled(bool enabled) {
        for (QWidget* control : std::initializer_list<QWidget*>{
                 slider(), qualityfield(), checkbox("normalprocessall"), child("lbljpegquality")})
            EXPECT_EQ(control->isEnabled(), enabled) << control->objectName().toStdString();
    }
};

} // namespace

TEST_F(Window, OpensAsDesignedWithTheOptionsOfAFirstLaunch) {
    EXPECT_EQ(window->windowTitle(), forappstore ? "Pivotel" : "Pivotel v3.6.4 ");
    EXPECT_EQ(rowcounter(), "0 Photos");
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    auto* tabs = child<QTabWidget>("TabPanel1");
    EXPECT_EQ(tabs->count() == 1 ? tabs->tabText(0) : QString(), "Preferences");
    EXPECT_TRUE(list()->isColumnHidden(PhotoListModel::PathColumn));
    EXPECT_FALSE(list()->isColumnHidden(PhotoListModel::ThumbnailColumn));
    EXPECT_EQ(QList<int>({list()->columnWidth(PhotoListModel::LabelColumn),
                          list()->columnWidth(PhotoListModel::ThumbnailColumn),
                          list()->verticalHeader()->defaultSectionSize()}),
              QList<int>({230, 80, 62}));
    EXPECT_EQ(list()->horizontalHeader()->sectionResizeMode(PhotoListModel::NameColumn),
              QHeaderView::Stretch);
    EXPECT_EQ(list()->selectionMode(), QAbstractItemView::SingleSelection);

    // The toolbar's buttons from left to right, each with its text as tip and an icon.
    int left = -1;
    for (const QString& button :
         QStringList{"loadfiles:Load Files", "loadfolders:Load Folders", "start:Start",
                     "loadstart:Load + Start", "clearlist:Clear List"}) {
        QAction* a = item(qPrintable(button.section(':', 0, 0)));
        EXPECT_EQ(a->text() + '|' + a->toolTip(), button.section(':', 1) + '|' + button.section(':', 1));
        EXPECT_FALSE(a->icon().isNull()) << qPrintable(button);
        EXPECT_GT(window->toolbar()->widgetForAction(a)->x(), left) << qPrintable(button);
        left = window->toolbar()->widgetForAction(a)->x();
    }
    EXPECT_EQ(window->toolbar()->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    EXPECT_FALSE(window->toolbar()->isMovable());
    EXPECT_EQ(window->createPopupMenu(), nullptr);

    const std::tuple<const char*, const char*, bool> boxes[] = {
        {"useexiforientation", "Use EXIF (Camera Settings) Orientation", true},
        {"onlyloadwhenneeded", "Only Load Photos That Needs to be Rotated", false},
        {"uselosslessrotation", "Use Lossless Rotation", true},
        {"normalprocessall", "Process All Photos on the List (Normal Rotation)", false},
        {"preserveDATES", "Preserve File Dates", false},
    };
    for (const auto& [name, caption, checked] : boxes) {
        EXPECT_EQ(checkbox(name)->text(), caption);
        EXPECT_EQ(checkbox(name)->isChecked(), checked) << name;
    }
    EXPECT_EQ(child("lbljpegquality")->text(), "JPEG Quality %");
    EXPECT_EQ(qualityfield()->text(), "75");
    EXPECT_EQ(QList<int>({slider()->value(), slider()->minimum(), slider()->maximum()}),
              QList<int>({75, 10, 100}));
    expectqualityenabled(false);
}

TEST_F(Window, LayoutHoldsAtEverySize) {
    window->resize(300, 200);
    QTest::qWait(0);
    EXPECT_GE(window->centralWidget()->width(), 912);
    EXPECT_GE(window->centralWidget()->height(), 549);
    for (const char* name : {"useexiforientation", "onlyloadwhenneeded", "uselosslessrotation",
                             "normalprocessall", "preserveDATES"}) {
        const QCheckBox* box = checkbox(name);
        EXPECT_GE(box->width(), box->sizeHint().width()) << name;
        EXPECT_GE(box->parentWidget()->width(), box->geometry().right()) << name;
    }
    EXPECT_GE(qualityfield()->parentWidget()->width(), qualityfield()->geometry().right());

    // Growing widens the list; the right side keeps its width; Clear List stays in the middle.
    auto* splitter = child<QSplitter>("WindowSplitter1");
    for (const int grow : {300, 900}) {
        const QList<int> before = splitter->sizes();
        window->resize(window->width() + grow, window->height());
        QTest::qWait(0);
        EXPECT_EQ(splitter->sizes(), QList<int>({before[0] + grow, before[1]}));
        const QWidget* clear = window->toolbar()->widgetForAction(item("clearlist"));
        EXPECT_NEAR(clear->geometry().center().x(), window->toolbar()->width() / 2, 2) << grow;
    }
}

TEST_F(Window, ClosingAsksAfterStoringTheOptionsWhichTheNextLaunchShows) {
    // Each box away from its default, in an order that lossless allows.
    for (const char* name : {"uselosslessrotation", "normalprocessall", "useexiforientation",
                             "onlyloadwhenneeded", "preserveDATES"})
        tick(name);
    qualityfield()->setText("64");
    dialogs.whileasking = [] {
        EXPECT_EQ(loadsettings(), Settings({true, true, true, false, false, "64"}));
    };
    dialogs.answers = {false, true};
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].message + dialogs.questions[0].yes + dialogs.questions[0].no,
              "Did You Want to Exit ?YesNo");
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());

    openwindow();
    for (const char* name : {"onlyloadwhenneeded", "preserveDATES", "normalprocessall"})
        EXPECT_TRUE(checkbox(name)->isChecked()) << name;
    EXPECT_FALSE(checkbox("useexiforientation")->isChecked());
    EXPECT_FALSE(checkbox("uselosslessrotation")->isChecked());
    EXPECT_EQ(qualityfield()->text(), "64");
    EXPECT_EQ(slider()->value(), 64);
    expectqualityenabled(true);
}

TEST_F(Window, LosslessGreysTheQualityControlsWhichKeepTheirValuesAndFollowEachOther) {
    tick("uselosslessrotation");
    expectqualityenabled(true);
    tick("normalprocessall");
    slider()->setFocus();
    slider()->setValue(42);
    EXPECT_EQ(qualityfield()->text(), "42");
    QTest::keyClick(slider(), Qt::Key_PageUp);
    EXPECT_EQ(qualityfield()->text(), "62");
    tick("uselosslessrotation");
    expectqualityenabled(false);
    EXPECT_TRUE(checkbox("normalprocessall")->isChecked());
    EXPECT_EQ(qualityfield()->text(), "62");

    // The field moves the slider while it holds a number inside the range, and is held to the
    // range on leaving.
    tick("uselosslessrotation");
    const struct {
        const char* typed;
        int whiletyping;   // the slider while the field has focus (-1: not looked at)
        const char* shown; // the field and the slider once left
    } cases[] = {
        {"42", 42, "42"},   {"10", 75, "10"},   {"100", 75, "100"}, {"11", 11, "11"},   {"abc", 75, "70"},
        {"150", 15, "100"}, {"55.9", 55, "55"}, {"9", 75, "10"},    {"101", 75, "100"}, {"", 75, "70"},
        {"-3", 75, "10"},   {"1e2", -1, "100"}, {" 60 ", -1, "60"}, {"9.99", -1, "10"}, {"0", 75, "10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.typed << '"');
        slider()->setValue(75);
        type(c.typed);
        if (c.whiletyping != -1) {
            EXPECT_EQ(slider()->value(), c.whiletyping);
        }
        leavefield();
        EXPECT_EQ(qualityfield()->text(), c.shown);
        EXPECT_EQ(slider()->value(), QString(c.shown).toInt());
    }
}

TEST(App, StartsWithItsDataFolderCleanAndItsWindowShown) {
    QDir(datafolder()).removeRecursively();
    QDir().mkpath(datafolder());
    // A killed run leaves its lock file, its working file and the tool's copy of it.
    const QStringList left{"xtemp.jpg", "xtemp.jpg_exiftool_tmp"};
    for (const QString& name : QStringList{"xtemp.lock"} + left)
        writebytes(datafolder() + '/' + name, "x");
    ScriptedDialogs dialogs;
    NotedDesktop desktop;
    App app(dialogs, desktop);
    for (const QString& name : left)
        EXPECT_FALSE(QFileInfo::exists(datafolder() + '/' + name)) << qPrintable(name);
    EXPECT_TRUE(app.mainmodule().isVisible());
    EXPECT_NE(app.mainmodule().findChild<QAction*>("CheckforUpdatesItem"), nullptr);
    EXPECT_FALSE(QApplication::windowIcon().isNull());
    EXPECT_EQ(QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion(),
              "Pivotel 3.6.4");
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
}

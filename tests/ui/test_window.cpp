#include "support/appidentity.h"
#include "ui/maintoolbar.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

using namespace pivotel;
using namespace pivotel::test;

namespace {
class Window : public WindowTest {};
} // namespace

TEST_F(Window, OpensAsDesigned) {
    EXPECT_EQ(window->windowTitle(),
              forappstore ? QStringLiteral("Pivotel") : QStringLiteral("Pivotel v3.6.4 "));
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    auto* tabs = child<QTabWidget>("TabPanel1");
    ASSERT_EQ(tabs->count(), 1);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("Preferences"));
    child("imagepreview");

    EXPECT_EQ(list()->model(), &window->photolist());
    EXPECT_TRUE(list()->isColumnHidden(PhotoListModel::PathColumn));
    EXPECT_FALSE(list()->isColumnHidden(PhotoListModel::ThumbnailColumn));
    EXPECT_EQ(list()->columnWidth(PhotoListModel::LabelColumn), 230);
    EXPECT_EQ(list()->columnWidth(PhotoListModel::ThumbnailColumn), 80);
    EXPECT_EQ(list()->horizontalHeader()->sectionResizeMode(PhotoListModel::NameColumn),
              QHeaderView::Stretch);
    EXPECT_EQ(list()->selectionMode(), QAbstractItemView::SingleSelection);
    EXPECT_EQ(list()->verticalHeader()->defaultSectionSize(), 62);

    const std::pair<const char*, const char*> items[] = {{"loadfiles", "Load Files"},
                                                         {"loadfolders", "Load Folders"},
                                                         {"start", "Start"},
                                                         {"loadstart", "Load + Start"},
                                                         {"clearlist", "Clear List"}};
    int left = -1;
    for (const auto& [identifier, text] : items) {
        QAction* a = action(identifier);
        EXPECT_EQ(a->text(), QLatin1String(text));
        EXPECT_EQ(a->toolTip(), QLatin1String(text));
        EXPECT_FALSE(a->icon().isNull()) << identifier;
        const QWidget* button = window->toolbar()->widgetForAction(a);
        EXPECT_GT(button->x(), left) << identifier;
        left = button->x();
    }
    EXPECT_EQ(window->toolbar()->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    EXPECT_FALSE(window->toolbar()->isMovable());
    EXPECT_EQ(window->createPopupMenu(), nullptr);
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
        EXPECT_EQ(splitter->sizes()[0], before[0] + grow);
        EXPECT_EQ(splitter->sizes()[1], before[1]);
        const QWidget* clear = window->toolbar()->widgetForAction(action("clearlist"));
        EXPECT_NEAR(clear->geometry().center().x(), window->toolbar()->width() / 2, 2) << grow;
    }
}

TEST_F(Window, ClosingAsksAndTheSettingsAreStoredBeforeTheAnswer) {
    tick("uselosslessrotation");
    tick("preserveDATES");
    qualityfield()->setText(QStringLiteral("64"));
    dialogs.whileasking = [] {
        const Settings stored = loadsettings();
        EXPECT_FALSE(stored.uselosslessrotation);
        EXPECT_TRUE(stored.preservedates);
        EXPECT_EQ(stored.jpgquality, QStringLiteral("64"));
    };
    dialogs.answers = {false, true};
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].message, QStringLiteral("Did You Want to Exit ?"));
    EXPECT_EQ(dialogs.questions[0].yes + dialogs.questions[0].no, QStringLiteral("YesNo"));
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());
}

#include "photolist/photolistmodel.h"
#include "shell/appidentity.h"
#include "shell/settingsstore.h"
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
#include <QToolButton>

using namespace pivotel;
using namespace pivotel::test;

namespace {
class Window : public WindowTest {};
} // namespace

TEST_F(Window, OpensWithItsTitleAndControls) {
    EXPECT_EQ(window->windowTitle(),
              forappstore ? QStringLiteral("Pivotel") : QStringLiteral("Pivotel v3.6.4 "));
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    EXPECT_FALSE(window->findChild<QWidget*>(QStringLiteral("ProgressWheel1"))->isVisible());

    auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("TabPanel1"));
    ASSERT_NE(tabs, nullptr);
    ASSERT_EQ(tabs->count(), 1);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("Preferences"));
    EXPECT_NE(window->findChild<QLabel*>(QStringLiteral("imagepreview")), nullptr);
    EXPECT_NE(window->findChild<QSplitter*>(QStringLiteral("WindowSplitter1")), nullptr);
}

TEST_F(Window, ListColumns) {
    auto* list = window->findChild<QTableView*>(QStringLiteral("Listbox1"));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->model(), &window->photolist());
    EXPECT_FALSE(list->isColumnHidden(PhotoListModel::NameColumn));
    EXPECT_FALSE(list->isColumnHidden(PhotoListModel::LabelColumn));
    EXPECT_TRUE(list->isColumnHidden(PhotoListModel::PathColumn));
    EXPECT_FALSE(list->isColumnHidden(PhotoListModel::ThumbnailColumn));
    EXPECT_EQ(list->columnWidth(PhotoListModel::LabelColumn), 230);
    EXPECT_EQ(list->columnWidth(PhotoListModel::ThumbnailColumn), 80);
    EXPECT_EQ(list->horizontalHeader()->sectionResizeMode(PhotoListModel::NameColumn), QHeaderView::Stretch);
    EXPECT_EQ(list->selectionMode(), QAbstractItemView::SingleSelection);
    EXPECT_EQ(list->verticalHeader()->defaultSectionSize(), 62);
}

TEST_F(Window, NeverSmallerThanItsDesign) {
    QWidget* central = window->centralWidget();
    window->resize(300, 200);
    QTest::qWait(0);
    EXPECT_GE(central->width(), 912);
    EXPECT_GE(central->height(), 549);

    // Growing widens the list; the right side keeps its width.
    auto* splitter = window->findChild<QSplitter*>(QStringLiteral("WindowSplitter1"));
    const QList<int> before = splitter->sizes();
    window->resize(window->width() + 200, window->height() + 100);
    QTest::qWait(0);
    const QList<int> after = splitter->sizes();
    EXPECT_EQ(after[0], before[0] + 200);
    EXPECT_EQ(after[1], before[1]);
}

TEST_F(Window, NoToClosingKeepsTheWindowAndHasStoredTheSettings) {
    tick("uselosslessrotation");
    tick("preserveDATES");
    qualityfield()->setText(QStringLiteral("64"));
    dialogs.answers.push_back(false);
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].message, QStringLiteral("Did You Want to Exit ?"));
    EXPECT_EQ(dialogs.questions[0].yes, QStringLiteral("Yes"));
    EXPECT_EQ(dialogs.questions[0].no, QStringLiteral("No"));

    const Settings stored = loadsettings();
    EXPECT_FALSE(stored.uselosslessrotation);
    EXPECT_TRUE(stored.preservedates);
    EXPECT_EQ(stored.jpgquality, QStringLiteral("64"));
}

TEST_F(Window, SettingsAreStoredBeforeTheQuestionIsAnswered) {
    tick("onlyloadwhenneeded");
    dialogs.whileasking = [] {
        EXPECT_TRUE(loadsettings().onlyloadwhenneeded);
    };
    dialogs.answers.push_back(true);
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(loadsettings().onlyloadwhenneeded);
}

TEST_F(Window, ToolbarItemsInOrder) {
    struct Item {
        const char* identifier;
        const char* label;
    };
    const Item items[] = {{"loadfiles", "Load Files"},
                          {"loadfolders", "Load Folders"},
                          {"start", "Start"},
                          {"loadstart", "Load + Start"},
                          {"clearlist", "Clear List"}};
    int left = -1;
    for (const Item& item : items) {
        QAction* a = action(QLatin1String(item.identifier));
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a->text(), QString::fromLatin1(item.label));
        EXPECT_EQ(a->toolTip(), QString::fromLatin1(item.label));
        EXPECT_FALSE(a->icon().isNull()) << item.identifier;
        EXPECT_TRUE(a->isEnabled()) << item.identifier;
        QWidget* button = window->toolbar()->widgetForAction(a);
        ASSERT_NE(button, nullptr);
        EXPECT_GT(button->x(), left) << item.identifier;
        left = button->x();
    }
    EXPECT_EQ(window->toolbar()->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    EXPECT_FALSE(window->toolbar()->isMovable());
    EXPECT_EQ(window->createPopupMenu(), nullptr);
}

TEST_F(Window, ClearListStandsInTheMiddleOfTheToolbar) {
    for (int width : {0, 300, 900}) {
        window->resize(window->minimumSizeHint().width() + width, window->height());
        QTest::qWait(0);
        QCoreApplication::processEvents();
        const QWidget* clear = window->toolbar()->widgetForAction(action(QStringLiteral("clearlist")));
        const QWidget* loadstart = window->toolbar()->widgetForAction(action(QStringLiteral("loadstart")));
        EXPECT_NEAR(clear->geometry().center().x(), window->toolbar()->width() / 2, 2) << width;
        // The flexible spaces grow with the window; the plain one stays between.
        EXPECT_GE(clear->x() - loadstart->geometry().right(), 24) << width;
    }
}

TEST_F(Window, ClearListEmptiesTheList) {
    writephoto(dir.filePath(QStringLiteral("a.jpg")), 48, 32, 6);
    writephoto(dir.filePath(QStringLiteral("b.jpg")));
    loadfolder(dir.path(), false);
    ASSERT_EQ(rowcounter(), QStringLiteral("2 Photos"));
    press(QStringLiteral("clearlist"));
    EXPECT_EQ(window->photolist().count(), 0);
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
    press(QStringLiteral("clearlist"));
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
}

TEST_F(Window, NoCaptionIsCutAtTheSmallestSize) {
    window->resize(window->minimumSizeHint());
    QTest::qWait(0);
    for (const char* name : {"useexiforientation", "onlyloadwhenneeded", "uselosslessrotation",
                             "normalprocessall", "preserveDATES"}) {
        const QCheckBox* box = checkbox(name);
        EXPECT_GE(box->width(), box->sizeHint().width()) << name;
        EXPECT_GE(box->parentWidget()->width(), box->geometry().right()) << name;
    }
    const QLineEdit* field = qualityfield();
    EXPECT_GE(field->parentWidget()->width(), field->geometry().right());
}

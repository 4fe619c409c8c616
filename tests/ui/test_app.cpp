#include "shell/app.h"
#include "shell/appidentity.h"
#include "support/places.h"
#include "windowtest.h"

#include <QApplication>
#include <QDir>

using namespace pivotel;
using namespace pivotel::test;

TEST(App, StartsWithItsDataFolderAndItsWindowShown) {
    QDir(datafolder()).removeRecursively();
    ScriptedDialogs dialogs;
    App app(dialogs);
    EXPECT_TRUE(QFileInfo(datafolder()).isDir());
    EXPECT_TRUE(app.mainmodule().isVisible());
    EXPECT_EQ(QCoreApplication::applicationName(), QStringLiteral("Pivotel"));
    EXPECT_EQ(QCoreApplication::applicationVersion(), QStringLiteral("3.6.4"));
    // Closing the main window ends the program.
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
    EXPECT_EQ(app.mainmodule().windowTitle(), forappstore ? justappname() : appname());
}

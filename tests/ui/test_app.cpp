#include "app/app.h"
#include "support/appidentity.h"
#include "support/places.h"
#include "support/testphotos.h"
#include "windowtest.h"

#include <QAction>
#include <QApplication>
#include <QDir>

using namespace pivotel;
using namespace pivotel::test;

TEST(App, StartsWithItsDataFolderCleanAndItsWindowShown) {
    QDir(datafolder()).removeRecursively();
    QDir().mkpath(datafolder());
    // A killed run leaves its lock file, its working file and the tool's copy of it.
    const QStringList left{QStringLiteral("xtemp.jpg"), QStringLiteral("xtemp.jpg_exiftool_tmp")};
    for (const QString& name : QStringList{QStringLiteral("xtemp.lock")} + left)
        writebytes(datafolder() + QLatin1Char('/') + name, "x");
    ScriptedDialogs dialogs;
    NotedDesktop desktop;
    App app(dialogs, desktop);
    for (const QString& name : left)
        EXPECT_FALSE(QFileInfo::exists(datafolder() + QLatin1Char('/') + name)) << qPrintable(name);
    EXPECT_TRUE(app.mainmodule().isVisible());
    EXPECT_NE(app.mainmodule().findChild<QAction*>(QStringLiteral("CheckforUpdatesItem")), nullptr);
    EXPECT_FALSE(QApplication::windowIcon().isNull());
    EXPECT_EQ(QCoreApplication::applicationName(), QStringLiteral("Pivotel"));
    EXPECT_EQ(QCoreApplication::applicationVersion(), QStringLiteral("3.6.4"));
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
    EXPECT_EQ(app.mainmodule().windowTitle(), forappstore ? justappname() : appname());
}

#include "support/places.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace pivotel;

// The test program stands in for an installed one: a share/pivotel folder beside its own
// folder makes it an install; without one it is a bundle. Either way the metadata tool is the
// folder's copy, else the system's exiftool (the Debian package's case).
TEST(Places, FindTheInstallOrTheBundleAndTheirTool) {
    const QString executables = QCoreApplication::applicationDirPath();
    const QString share = QDir::cleanPath(executables + QStringLiteral("/../share/pivotel"));
    const QString system = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    ASSERT_FALSE(system.isEmpty()) << "exiftool (libimage-exiftool-perl) is not installed";
    QDir(share).removeRecursively();

    EXPECT_EQ(resourcesfolder(), QDir::cleanPath(executables + QStringLiteral("/../Resources")));
    EXPECT_EQ(toolfile(), system);

    ASSERT_TRUE(ensurefolder(share + QStringLiteral("/exiftool")));
    EXPECT_EQ(resourcesfolder(), share);
    EXPECT_EQ(toolfile(), system);
    QFile tool(share + QStringLiteral("/exiftool/exiftool"));
    ASSERT_TRUE(tool.open(QIODevice::WriteOnly));
    tool.close();
    EXPECT_EQ(toolfile(), tool.fileName());
    QDir(QDir::cleanPath(share + QStringLiteral("/.."))).removeRecursively();
}

#include "support/places.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>

// The test program stands in for an installed one: share/pivotel beside its folder makes an
// install, else a bundle. The tool is that folder's copy, else the system's (the .deb's case).
TEST(Places, FindTheInstallOrTheBundleAndTheirTool) {
    const QString share =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share"));
    const QString system = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    QDir(share).removeRecursively();
    EXPECT_TRUE(pivotel::resourcesfolder().endsWith(QStringLiteral("/Resources")));
    EXPECT_EQ(pivotel::toolfile(), system);
    ASSERT_TRUE(QDir().mkpath(share + QStringLiteral("/pivotel/exiftool")));
    EXPECT_EQ(pivotel::resourcesfolder(), share + QStringLiteral("/pivotel"));
    ASSERT_TRUE(QFile(share + QStringLiteral("/pivotel/exiftool/exiftool")).open(QIODevice::WriteOnly));
    EXPECT_EQ(pivotel::toolfile(), share + QStringLiteral("/pivotel/exiftool/exiftool"));
    QDir(share).removeRecursively();
}

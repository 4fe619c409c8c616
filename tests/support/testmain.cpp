// Test programs start here: the data folder and the settings go to a temporary directory, so
// that no test touches the user's own.

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QTemporaryDir home;
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (home.path() + QStringLiteral("/cache")).toLocal8Bit());
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Test programs start here, with the data folder and the settings in a temporary directory.

#include "support/isolatedhome.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QTemporaryDir home;
    isolatehome(home);
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

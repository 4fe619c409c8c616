// Widget test programs start here: like the other tests, with the data folder and the settings
// in a temporary directory, and with a QApplication for the widgets.

#include "support/isolatedhome.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QTemporaryDir home;
    isolatehome(home);
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Widget test programs start here: like the other tests, with the data folder and the settings
// in a temporary directory, and with a QApplication for the widgets.

#include "support/isolatedhome.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QTemporaryDir home;
    isolatehome(home);
    // The window's update check at start goes nowhere: no test reaches the maker's server.
    qputenv("PIVOTEL_UPDATE_URL", "https://127.0.0.1:1/ver/pivotel.txt");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Test programs start here, with the data folder, the settings and the caches in a temporary
// directory, so that no test touches the user's own. Widget test programs (PIVOTEL_TEST_GUI) get
// a QApplication.

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#ifdef PIVOTEL_TEST_GUI
#include <QApplication>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

int main(int argc, char** argv) {
    QTemporaryDir home;
    for (const char* place : {"DATA", "CONFIG", "CACHE"})
        qputenv(QByteArray("XDG_") + place + "_HOME", QFile::encodeName(home.path() + '/' + place));
    // The window's update check at start goes nowhere: no test reaches the maker's server.
    qputenv("PIVOTEL_UPDATE_URL", "https://127.0.0.1:1/ver/pivotel.txt");
    // Test programs live outside the bundle: the modules are the build's.
    if (!qEnvironmentVariableIsSet("PIVOTEL_LOOK_MODULE"))
        qputenv("PIVOTEL_LOOK_MODULE", PIVOTEL_TEST_LOOKMODULE);
    if (!qEnvironmentVariableIsSet("PIVOTEL_PIXELS_MODULE"))
        qputenv("PIVOTEL_PIXELS_MODULE", PIVOTEL_TEST_PIXELSMODULE);
    Application app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

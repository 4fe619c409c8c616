#include "windowtest.h"

#include "support/places.h"

#include <QDir>
#include <fcntl.h>
#include <sys/file.h>

namespace pivotel::test {

void WindowTest::SetUp() {
    QFile::remove(settingslocation());
    openwindow();
}

void WindowTest::openwindow() {
    window.reset();
    window = std::make_unique<MainModule>(dialogs, store);
    menus = new Menus(*window, dialogs, desktop, PIVOTEL_TEST_RESOURCES);
    window->show();
    // Focus moves, and leaving a field is seen, only in the active window.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

QString WindowTest::photo(const Photo& photo) {
    const QString file = path(photo.name);
    QDir().mkpath(QFileInfo(file).absolutePath());
    writepattern(file, photo.size.width(), photo.size.height());
    if (photo.orientation != 0) {
        // A big-endian TIFF structure with one IFD of one entry: Orientation (0x0112), SHORT, 1.
        QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 24);
        insertsegment(file, 0xE1, exif.append(char(0)).append(char(photo.orientation)).append(6, '\0'));
    }
    return file;
}

UniqueFd WindowTest::startheldrun() {
    ensurefolder(datafolder());
    UniqueFd lock(
        ::open(QFile::encodeName(datafolder() + "/xtemp.lock"), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(::flock(lock.get(), LOCK_EX), 0);
    press("start");
    EXPECT_EQ(rowcounter(), "Starting ...");
    EXPECT_TRUE(QTest::qWaitFor([&] { return rowcounter() == "Rotating a.jpg"; }, 60000));
    return lock;
}

} // namespace pivotel::test

// pivotel-windowshot: opens the window with a few photos loaded and a row's action pop-up open,
// and saves a picture of the screen under it, so that its layout can be looked at
// (scripts/screenshot.sh runs it under a virtual display).
// Its settings and data go to a temporary folder; the user's own are never touched.

#include "app/settingsstore.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"
#include "ui/maintoolbar.h"
#include "ui/menus.h"
#include "ui/qtdesktop.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QColor>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QScreen>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace pivotel;

namespace {

// Answers Load Folders with the folder of sample photos and its sub folders.
class SampleDialogs : public Dialogs {
  public:
    explicit SampleDialogs(QString folder) : folder_(std::move(folder)) {}
    QStringList choosefiles(QWidget*, const QString&, const QString&, const QStringList&) override {
        return {};
    }
    QString choosefolder(QWidget*, const QString&, const QString&) override { return folder_; }
    bool grantfolder(QWidget*, const FolderPanel&) override { return true; }
    bool ask(QWidget*, const Question&) override { return true; }
    void tell(QWidget*, const QString&) override {}
    // A real menu, open long enough for `whileopen`, then dismissed.
    std::optional<int> popup(QWidget* parent, const QStringList& items, QPoint at, bool enabled) override {
        QMenu menu(parent);
        for (const QString& item : items)
            menu.addAction(item)->setEnabled(enabled);
        QTimer::singleShot(400, &menu, [this, &menu] {
            if (whileopen)
                whileopen();
            menu.close();
        });
        menu.exec(at);
        return std::nullopt;
    }
    std::function<void()> whileopen;

  private:
    QString folder_;
};

void pause(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// A photo of a few coloured bands, with an EXIF orientation when one is given (0: no EXIF at all).
void writephoto(const QString& path, QSize size, int hue, int orientation) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y,
                           QColor::fromHsv((hue + 40 * (y * 4 / size.height())) % 360,
                                           120 + x * 120 / size.width(), 230 - y * 100 / size.height())
                               .rgb());
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    if (orientation != 0) {
        // A big-endian TIFF structure with one IFD of one entry: Orientation (0x0112), SHORT, 1.
        QByteArray exif("\xff\xe1\0\x22"
                        "Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01",
                        28);
        exif.append(char(0)).append(char(orientation)).append(6, '\0');
        jpeg.insert(2, exif);
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(jpeg);
}

void writesamples(const QString& folder) {
    struct Sample {
        const char* name;
        int orientation;
        QSize size;
    };
    const Sample samples[] = {
        {"IMG_0001.jpg", 6, {480, 640}},
        {"IMG_0002.jpg", 1, {640, 480}},
        {"IMG_0003.JPG", 3, {640, 427}},
        {"Holiday/Beach at dusk with a rather long file name.jpeg", 8, {427, 640}},
        {"Holiday/IMG_0105.jpg", 6, {640, 360}},
        {"Holiday/IMG_0106.jpg", 0, {500, 500}},
    };
    int hue = 0;
    for (const Sample& sample : samples) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(sample.name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        writephoto(path, sample.size, hue += 55, sample.orientation);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir home;
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, home.path().toLocal8Bit());
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: pivotel-windowshot OUTPUT.png [WIDTH HEIGHT]\n", stderr);
        return 2;
    }

    const QString photos = home.path() + QStringLiteral("/Pictures");
    writesamples(photos);
    SampleDialogs dialogs(photos);
    PreferencesStore settings;
    MainModule window(dialogs, settings);
    QtDesktop desktop; // nothing is clicked
    new Menus(window, dialogs, desktop);
    if (arguments.size() >= 4)
        window.resize(arguments[2].toInt(), arguments[3].toInt());
    window.show();
    pause(300);
    window.toolbar()->item(QStringLiteral("loadfolders"))->trigger();
    pause(500);
    // A selected row, so that the preview shows too, and its pop-up opened from the keyboard.
    auto* list = window.findChild<QTableView*>(QStringLiteral("Listbox1"));
    list->setFocus();
    list->selectRow(1);
    pause(1000);
    bool saved = false;
    dialogs.whileopen = [&] {
        const QRect area = window.frameGeometry();
        saved = window.screen()
                    ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
                    .save(arguments[1]);
    };
    QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QApplication::sendEvent(list, &space);
    if (!saved) {
        std::fprintf(stderr, "pivotel-windowshot: can't write %s\n", qPrintable(arguments[1]));
        return 1;
    }
    return 0;
}

// pivotel-windowshot: opens the window with a few photos loaded and saves a picture of it, so
// that its layout can be looked at (scripts/screenshot.sh runs it under a virtual display).
// Its settings and data go to a temporary folder; the user's own are never touched.

#include "support/isolatedhome.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"
#include "ui/maintoolbar.h"
#include "ui/menus.h"
#include "ui/qtdesktop.h"
#include "uiphotos.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QEventLoop>
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
    bool ask(QWidget*, const Question&) override { return true; }
    void tell(QWidget*, const QString&) override {}

  private:
    QString folder_;
};

void pause(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

void writesamples(const QString& folder) {
    struct Sample {
        const char* name;
        int orientation;
    };
    const Sample samples[] = {
        {"IMG_0001.jpg", 6},         {"IMG_0002.jpg", 1},
        {"IMG_0003.JPG", 3},         {"Holiday/Beach at dusk with a rather long file name.jpeg", 8},
        {"Holiday/IMG_0105.jpg", 6}, {"Holiday/IMG_0106.jpg", 0},
    };
    for (const Sample& sample : samples) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(sample.name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        test::writephoto(path, 160, 120, sample.orientation);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir home;
    isolatehome(home);
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2) {
        std::fputs("usage: pivotel-windowshot OUTPUT.png [WIDTH HEIGHT]\n", stderr);
        return 2;
    }

    const QString photos = home.path() + QStringLiteral("/Pictures");
    writesamples(photos);
    SampleDialogs dialogs(photos);
    MainModule window(dialogs);
    QtDesktop desktop; // nothing is clicked
    new Menus(window, dialogs, desktop);
    if (arguments.size() >= 4)
        window.resize(arguments[2].toInt(), arguments[3].toInt());
    window.show();
    pause(300);
    window.toolbar()->item(QStringLiteral("loadfolders"))->trigger();
    pause(500);
    // A selected row, so that the preview shows too.
    if (auto* list = window.findChild<QTableView*>(QStringLiteral("Listbox1")))
        list->selectRow(1);
    pause(300);

    if (!window.grab().save(arguments[1])) {
        std::fprintf(stderr, "pivotel-windowshot: can't write %s\n", qPrintable(arguments[1]));
        return 1;
    }
    return 0;
}

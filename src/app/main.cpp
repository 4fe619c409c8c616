// pivotel [PATH...]: the window, with the photos of PATH on its list.

#include "app/app.h"
#include "ui/qtdesktop.h"
#include "ui/qtdialogs.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    pivotel::QtDialogs dialogs;
    pivotel::QtDesktop desktop;
    // Qt has taken its own options out; what is left are paths to put on the list.
    pivotel::App app(dialogs, desktop, QApplication::arguments().mid(1));
    return QApplication::exec();
}

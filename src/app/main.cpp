// pivotel: the window.

#include "app/app.h"
#include "ui/qtdesktop.h"
#include "ui/qtdialogs.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    pivotel::QtDialogs dialogs;
    pivotel::QtDesktop desktop;
    pivotel::App app(dialogs, desktop);
    return QApplication::exec();
}

// pivotel: the window.

#include "app/app.h"
#include "ui/qtdialogs.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    pivotel::QtDialogs dialogs;
    pivotel::App app(dialogs);
    return QApplication::exec();
}

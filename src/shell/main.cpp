// pivotel: the window.

#include "shell/app.h"
#include "ui/qtdialogs.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    pivotel::QtDialogs dialogs;
    pivotel::App app(dialogs);
    return QApplication::exec();
}

// pivotel [PATH...]: the window, with the photos of PATH on its list.

#include "app/app.h"
#include "support/memorypolicy.h"
#include "support/nativepath.h"
#include "ui/qtdesktop.h"
#include "ui/qtdialogs.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    pivotel::restartwithhugepages(argv);
    QApplication application(argc, argv);
    pivotel::QtDialogs dialogs;
    pivotel::QtDesktop desktop;
    // Qt has taken its own options out; what is left are paths to put on the list.
    // Taken as bytes: a path that isn't UTF-8 must still name its file.
    QStringList paths;
    for (int i = 1; i < argc; ++i)
        paths << pivotel::pathfromnative(argv[i]);
    pivotel::App app(dialogs, desktop, paths, PIVOTEL_FORAPPSTORE);
    return QApplication::exec();
}

#include "app/app.h"

#include "engine/photorewrite.h"
#include "app/settingsstore.h"
#include "support/appidentity.h"
#include "support/nativepath.h"
#include "support/places.h"
#include "ui/appicon.h"
#include "ui/mainmodule.h"
#include "ui/menus.h"

#include <QApplication>

namespace pivotel {

App::App(Dialogs& dialogs, Desktop& desktop, const QStringList& paths, bool forappstore) {
    QCoreApplication::setApplicationName(justappname());
    QCoreApplication::setApplicationVersion(versiontext());
    QApplication::setWindowIcon(appicon());
    QApplication::setQuitOnLastWindowClosed(true);
    // The run's working files live here; those a killed run left go now.
    ensurefolder(datafolder());
    cleanleftovers(datafolder());

    mainmodule_ = std::make_unique<MainModule>(dialogs, settings_, forappstore);
    auto* menus = new Menus(*mainmodule_, dialogs, desktop);
    mainmodule_->show();
    QStringList absolute;
    for (const QString& path : paths)
        absolute << absolutepath(path);
    mainmodule_->takepaths(absolute);
    menus->checkforupdates(false);
}

App::~App() = default;

} // namespace pivotel

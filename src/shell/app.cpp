#include "shell/app.h"

#include "engine/photorewrite.h"
#include "shell/appidentity.h"
#include "support/places.h"
#include "ui/appicon.h"
#include "ui/mainmodule.h"
#include "ui/menus.h"

#include <QApplication>

namespace pivotel {

App::App(Dialogs& dialogs, Desktop& desktop) {
    QCoreApplication::setApplicationName(justappname());
    QCoreApplication::setApplicationVersion(versiontext());
    QApplication::setWindowIcon(appicon());
    QApplication::setQuitOnLastWindowClosed(true);
    // The run's working files live here; those a killed run left go now.
    ensurefolder(datafolder());
    cleanleftovers(datafolder());

    mainmodule_ = std::make_unique<MainModule>(dialogs);
    auto* menus = new Menus(*mainmodule_, dialogs, desktop);
    mainmodule_->show();
    menus->checkforupdates(false);
}

App::~App() = default;

} // namespace pivotel

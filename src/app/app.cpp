#include "app/app.h"

#include "engine/photorewrite.h"
#include "app/settingsstore.h"
#include "support/appidentity.h"
#include "support/places.h"
#include "ui/mainmodule.h"

#include <QApplication>

namespace pivotel {

App::App(Dialogs& dialogs) {
    QCoreApplication::setApplicationName(justappname());
    QCoreApplication::setApplicationVersion(versiontext());
    QApplication::setQuitOnLastWindowClosed(true);
    // The run's working files live here; those a killed run left go now.
    ensurefolder(datafolder());
    cleanleftovers(datafolder());

    mainmodule_ = std::make_unique<MainModule>(dialogs, settings_);
    mainmodule_->show();
}

App::~App() = default;

} // namespace pivotel

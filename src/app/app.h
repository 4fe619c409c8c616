#pragma once

#include "app/settingsstore.h"

#include <QStringList>
#include <memory>

namespace pivotel {

class Desktop;
class Dialogs;
class MainModule;

// The program's frame, made once a QApplication exists: the application's identity, the data
// folder, then the main window with its menus, opened and shown, then the silent update check.
// Closing the main window ends the program. Paths given to the program (`pivotel PATH...`, or a
// desktop's "Open With") go onto the list as a drop of them would. `forappstore` is the build
// flavour, which each program of the bundle fixes when it is built: true for the sandboxed one.
class App {
  public:
    App(Dialogs& dialogs, Desktop& desktop, const QStringList& paths = {}, bool forappstore = false);
    ~App();

    MainModule& mainmodule() { return *mainmodule_; }

  private:
    PreferencesStore settings_;
    std::unique_ptr<MainModule> mainmodule_;
};

} // namespace pivotel

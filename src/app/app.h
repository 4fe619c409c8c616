#pragma once

#include "app/settingsstore.h"

#include <memory>

namespace pivotel {

class Dialogs;
class MainModule;

// The program's frame, made once a QApplication exists: the application's identity, the data
// folder, then the main window, opened and shown. Closing the main window ends the program.
class App {
  public:
    explicit App(Dialogs& dialogs);
    ~App();

    MainModule& mainmodule() { return *mainmodule_; }

  private:
    PreferencesStore settings_;
    std::unique_ptr<MainModule> mainmodule_;
};

} // namespace pivotel

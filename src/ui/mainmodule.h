#pragma once

#include "engine/batchrun.h"
#include "photolist/liststate.h"
#include "photolist/photolistmodel.h"
#include "ui/mainlayout.h"
#include "ui/photointake.h"

#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <memory>

namespace pivotel {

class Dialogs;
class MainToolbar;

// The one main window: it owns the list, the options, the run state, the run's thread and the
// timer that shows the run's progress. Everything the user does goes here.
class MainModule : public QMainWindow {
    Q_OBJECT
  public:
    // Makes the window's controls and opens it: settings loaded, toolbar installed, the
    // metadata tool started once.
    explicit MainModule(Dialogs& dialogs, QWidget* parent = nullptr);
    // A run still going ends after its photo in work, which is finished or left whole.
    ~MainModule() override;

    const PhotoListModel& photolist() const { return *list_; }
    const ListState& state() const { return state_; }
    MainToolbar* toolbar() const { return toolbar_; }

    // Writes the number of rows into the count line: "0 Photos", "1 Photo", "n Photos".
    void updatecounter();
    void loadsettings();
    void savesettings();

    // The two ways onto the list by dialog: files, and a folder with or without its sub
    // folders.
    void loadfiles();
    void loadfolders();

    // No menu to hide the toolbar: it is always there.
    QMenu* createPopupMenu() override;

  protected:
    // Asks "Did You Want to Exit ?" after storing the settings.
    void closeEvent(QCloseEvent* event) override;

  private:
    PhotoIntake::Window intakewindow();
    void opening();
    void toggletoolbar(const QString& identifier, bool enabled);
    void connecttoolbar();
    void oncommand(const char* identifier, const std::function<void()>& command);
    // The toolbar's commands do nothing during a run, nor while an intake, which keeps the
    // window alive as it works, is under way, nor once the window is closing.
    bool commandsclosed() const;

    void clearlist();
    // Validates and freezes the options, stores them, makes the work list and starts the run.
    void prepwork();
    // Start: a run over the list, or "There is Nothing to Process" for an empty one.
    void startorrefuse();
    // Load + Start: the folder scan to its end, then Start.
    void loadstart();

    // The 50 ms relay between the run's thread and the window.
    void updatetimer_Action();
    void showprogress();
    void endrun();

    Dialogs& dialogs_;
    ListState state_;
    PhotoListModel* list_;
    MainLayout ui_;
    MainToolbar* toolbar_ = nullptr;
    PhotoIntake intake_;
    QTimer updatetimer_;
    std::unique_ptr<BatchRun> processthread_;
    bool closing_ = false;
};

} // namespace pivotel

#pragma once

#include "engine/runsession.h"
#include "photolist/liststate.h"
#include "photolist/lookjob.h"
#include "photolist/photolistmodel.h"
#include "photolist/recheckjob.h"
#include "ui/foldergrants.h"
#include "ui/mainlayout.h"
#include "ui/photointake.h"
#include "ui/photopreview.h"
#include "ui/settings.h"
#include "ui/taskbarprogress.h"

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
    // metadata tool started once. `forappstore`: the sandboxed flavour, which keeps the plain
    // title and asks for write access to the folders of a run.
    MainModule(Dialogs& dialogs, SettingsStore& settings, bool forappstore = false,
               QWidget* parent = nullptr);
    // A run still going ends after its photo in work, which is finished or left whole.
    ~MainModule() override;

    const PhotoListModel& photolist() const { return *list_; }
    const ListState& state() const { return state_; }
    MainToolbar* toolbar() const { return toolbar_; }
    bool forappstore() const { return forappstore_; }
    // No intake and no preview decode is under way.
    [[nodiscard]] bool idle() const { return !intake_.busy() && !preview_.busy() && !recheck_ && !look_; }

    // Writes the number of rows into the count line: "0 Photos", "1 Photo", "n Photos".
    void updatecounter();
    void loadsettings();
    void savesettings();

    // The two ways onto the list by dialog: files, and a folder with or without its sub
    // folders.
    void loadfiles();
    void loadfolders();
    // Photos are being taken onto the list.
    bool takingphotos() const { return intake_.busy(); }
    // Stops the run under way: its photos in work are finished, no other is begun, and the
    // rows not done keep their actions for the next run. The menu's Stop and Escape.
    void stoprun();

    // Takes the selected row off the list; its file stays where it is. Not during a run, an
    // intake or an orientation check.
    void removeselectedrow();
    // Files and folders dropped on the list or named on the command line: appended, each folder
    // with all its sub folders. Also during a run, whose photos they don't join.
    void takepaths(const QStringList& paths);

    // No menu to hide the toolbar: it is always there.
    QMenu* createPopupMenu() override;

    // Shows the photo of a list row in the preview, as it lies on disk. A file that has gone is
    // reported only while `candopreview` holds, that is for a row the user pressed; a row that
    // doesn't exist has nothing to show.
    void Dopreviewrow(qint64 row);
    // Redraws the preview at the viewer's present size, when a row's picture is on show.
    void dorefreshpage();

  protected:
    // Asks "Did You Want to Exit ?" after storing the settings.
    void closeEvent(QCloseEvent* event) override;
    // The list's presses, seen before the list acts on them, and the viewer's changes of size.
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    PhotoIntake::Window intakewindow();
    void opening();
    void toggletoolbar(const QString& identifier, bool enabled);
    void connecttoolbar();
    void oncommand(const char* identifier, const std::function<void()>& command, bool duringintake = false);
    // The toolbar's commands do nothing during a run, nor while an intake is under way (Clear
    // List excepted), nor once the window is closing.
    bool commandsclosed() const;

    void clearlist();
    // The selected row goes into the preview.
    void Listbox1_SelectionChanged();
    // A press makes the row the one a tick previews and lets a missing file be reported; it
    // comes before the selection that the press makes.
    void Listbox1_CellPressed(qint64 row);
    // The action pop-up of a row: the chosen action becomes the row's; a dismissal changes
    // nothing. Not while photos are being taken in.
    void Listbox1_popup(int row, QPoint at);
    // The six "Set All to ..." entries, greyed on an empty list.
    void Listbox1_ConstructContextualMenu(QPoint at);
    // Every row's action read again from its photo's EXIF orientation, off the main thread.
    void recheckall();
    // "Set All to Picture Check": the rows without an EXIF orientation to go by get the upright
    // their pictures suggest, off the main thread; every other row keeps its action.
    void lookall();
    // Validates and freezes the options, stores them, makes the work list and starts the run.
    void prepwork();
    // Start: a run over the list, or "There is Nothing to Process" for an empty one.
    void startorrefuse();
    // Load + Start: the folder scan to its end, then Start.
    void loadstart();

    // Notes on the status line what a drop left out, and why.
    void droprefused(qsizetype notjpeg, qsizetype notfile);

    // The 50 ms relay between the run's thread and the window.
    void updatetimer_Action();
    void showprogress();
    void endrun();
    // The run session's news of the photo it begins.
    void photostarted(qint64 index, const QString& name);

    Dialogs& dialogs_;
    SettingsStore& settings_;
    const bool forappstore_;
    FolderGrants grants_; // the sandboxed flavour's
    ListState state_;
    PhotoListModel* list_;
    MainLayout ui_;
    MainToolbar* toolbar_ = nullptr;
    PhotoIntake intake_;
    PhotoPreview preview_;
    qint64 nowrow_ = -1;   // the selected row, which a refresh of the preview redraws
    bool telling_ = false; // the message about a missing photo stands open
    QTimer updatetimer_;
    std::unique_ptr<RunSession> processthread_;
    std::vector<qint64> runrows_; // the list row of each photo of the run
    qint64 donecount_ = 0;        // photos of the run ended, however
    bool stopped_ = false;        // the user stopped the run
    TaskbarProgress taskbar_;
    std::unique_ptr<RecheckJob> recheck_;
    std::unique_ptr<LookJob> look_;
    bool closing_ = false;
};

} // namespace pivotel

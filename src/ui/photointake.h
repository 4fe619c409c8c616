#pragma once

#include "photolist/admission.h"

#include <QString>
#include <functional>

class QWidget;

namespace pivotel {

class Dialogs;
struct ListState;
class PhotoListModel;

// Takes photos onto the list by file dialog (Load Files) and by folder (Load Folders), on the
// main thread. The window stays alive meanwhile, so the window's own commands can arrive in the
// middle of an intake: busy() tells them.
class PhotoIntake {
  public:
    // What the intake needs of the window.
    struct Window {
        QWidget* parent = nullptr;                          // the dialogs' parent
        std::function<AdmissionOptions()> admissionoptions; // read afresh for every photo
        std::function<void()> updatecounter;                // refresh the count line
        std::function<void(bool)> showwheel;                // show or hide the busy wheel
    };

    PhotoIntake(PhotoListModel& list, ListState& state, Dialogs& dialogs, Window window);

    // The file dialog "Add Photos to List"; the chosen JPEG photos are admitted in order.
    void loadfiles();
    // The folder dialog and the question whether to take the sub folders, then the scan.
    void loadfolders();

    // An intake is under way.
    bool busy() const { return depth_ > 0; }
    // The window is closing: an intake under way takes no more photos and ends quickly.
    void abandon() { abandoned_ = true; }

    // The folder the next dialog opens on: the folder of the file last taken by Load Files or
    // the folder chosen by Load Folders; empty before either.
    const QString& nowfolder() const { return nowfolder_; }

  private:
    QString startfolder() const;

    PhotoListModel& list_;
    ListState& state_;
    Dialogs& dialogs_;
    Window window_;
    QString nowfolder_;
    int depth_ = 0;
    bool abandoned_ = false;
};

} // namespace pivotel

#pragma once

#include "photolist/admission.h"
#include "photolist/intakejob.h"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

class QWidget;

namespace pivotel {

class Dialogs;
struct ListState;
class PhotoListModel;

// Takes photos onto the list by file dialog (Load Files) and by folder (Load Folders). The
// dialogs are the main thread's; the photos are judged by a job off it, whose rows join the
// list in batches as they come. busy() tells the window's commands that an intake is under way.
class PhotoIntake : public QObject {
    Q_OBJECT
  public:
    // What the intake needs of the window.
    struct Window {
        QWidget* parent = nullptr;                          // the dialogs' parent
        std::function<AdmissionOptions()> admissionoptions; // read when a job starts
        std::function<void()> updatecounter;                // refresh the count line
        std::function<void(bool)> showwheel;                // show or hide the busy wheel
    };

    PhotoIntake(PhotoListModel& list, ListState& state, Dialogs& dialogs, Window window);
    ~PhotoIntake() override;

    // The file dialog "Add Photos to List"; the chosen JPEG photos are taken in order.
    void loadfiles();
    // The folder dialog and the question whether to take the sub folders, then the scan.
    // `then` runs once the scan has ended without being cancelled, or at once when the folder
    // dialog is dismissed.
    void loadfolders(std::function<void()> then = {});
    // Files and folders dropped on the list or named on the command line, taken in order: each
    // folder with all its sub folders, without a question. Also during a run; a drop that comes
    // while another intake is under way waits for it.
    void drop(const QStringList& paths);

    // A dialog of the intake stands open or its job is under way.
    [[nodiscard]] bool busy() const { return asking_ || job_ != nullptr; }
    // Cancels the job under way, if any: it takes no more photos.
    void abandon();
    // The user changed the intake options: photos not yet judged follow them.
    void optionschanged();

  signals:
    // Load Folders took this folder.
    void folderchosen(const QString& folder);

  private:
    [[nodiscard]] QString startfolder() const;
    void startjob(IntakeRequest request, std::function<void()> then);
    void endjob(bool cancelled);

    PhotoListModel& list_;
    ListState& state_;
    Dialogs& dialogs_;
    Window window_;
    // The folder the next dialog opens on: the folder of the file last taken by Load Files or
    // the folder chosen by Load Folders; empty before either.
    QString nowfolder_;
    bool asking_ = false;
    std::unique_ptr<IntakeJob> job_;
    quint64 serial_ = 0; // the number of the latest job
    std::function<void()> then_;
    std::vector<QStringList> drops_; // drops waiting for the intake under way
};

} // namespace pivotel

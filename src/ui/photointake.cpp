#include "ui/photointake.h"

#include "photolist/extensions.h"
#include "photolist/liststate.h"
#include "ui/dialogs.h"

#include <QFileInfo>
#include <QScopedValueRollback>
#include <QStandardPaths>

namespace pivotel {

PhotoIntake::PhotoIntake(PhotoListModel& list, ListState& state, Dialogs& dialogs, Window window)
    : list_(list), state_(state), dialogs_(dialogs), window_(std::move(window)) {
}

PhotoIntake::~PhotoIntake() = default;

QString PhotoIntake::startfolder() const {
    if (!nowfolder_.isEmpty())
        return nowfolder_;
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}

void PhotoIntake::loadfiles() {
    QStringList chosen;
    {
        const QScopedValueRollback asking(asking_, true);
        chosen = dialogs_.choosefiles(window_.parent, QStringLiteral("Add Photos to List"), startfolder(),
                                      extensions::dialogtypes());
    }
    // The dialog moves to the last file with a photo's extension, even one the job refuses.
    for (const QString& path : std::as_const(chosen)) {
        const QFileInfo file(path);
        if (hasextension(file.fileName(), extensions::loadfiles()))
            nowfolder_ = file.absolutePath();
    }
    if (chosen.isEmpty()) {
        window_.updatecounter();
        return;
    }
    startjob({chosen, QString(), false}, {});
}

void PhotoIntake::loadfolders(std::function<void()> then) {
    QString folder;
    bool recursive = false;
    {
        const QScopedValueRollback asking(asking_, true);
        folder = dialogs_.choosefolder(
            window_.parent,
            QStringLiteral("Select the Folder of Images which you want to Include on the List ... "),
            startfolder());
        if (folder.isEmpty()) {
            window_.updatecounter();
            if (then)
                then();
            return;
        }
        recursive = dialogs_.ask(
            window_.parent,
            {QStringLiteral("Load All Sub Folders"),
             QStringLiteral("Do You Want to Load All Images in All Sub Folders?"),
             QStringLiteral(
                 "By selecting 'Yes', All Images from the Sub Folders would be included in the list."),
             QStringLiteral("Yes"), QStringLiteral("No")});
    }
    nowfolder_ = folder;
    emit folderchosen(folder);
    startjob({{}, folder, recursive}, std::move(then));
}

void PhotoIntake::drop(const QStringList& paths) {
    if (paths.isEmpty())
        return;
    if (busy()) {
        drops_.push_back(paths);
        return;
    }
    startjob({paths, QString(), false, true}, {});
}

void PhotoIntake::startjob(IntakeRequest request, std::function<void()> then) {
    then_ = std::move(then);
    state_.isloading = true;
    window_.showwheel(true);
    job_ = std::make_unique<IntakeJob>(std::move(request), window_.admissionoptions());
    // Batches already on their way when a job is cancelled still arrive: its number tells them.
    const quint64 serial = ++serial_;
    connect(job_.get(), &IntakeJob::rowsfound, this, [this, serial](const std::vector<PhotoRow>& rows) {
        if (serial != serial_ || !job_)
            return;
        list_.appendrows(rows);
        window_.updatecounter();
    });
    connect(job_.get(), &IntakeJob::finished, this, [this, serial](bool cancelled) {
        if (serial == serial_ && job_)
            endjob(cancelled);
    });
    job_->start();
}

void PhotoIntake::endjob(bool cancelled) {
    // Its thread has said its last word; it ends in a moment, and the job goes once it has.
    IntakeJob* job = job_.release();
    job->disconnect(this);
    job->deleteLater();
    state_.isloading = false;
    window_.updatecounter();
    window_.showwheel(false);
    const std::function<void()> then = std::exchange(then_, {});
    if (!cancelled && then)
        then();
    if (!drops_.empty() && !busy()) {
        const QStringList next = drops_.front();
        drops_.erase(drops_.begin());
        drop(next);
    }
}

void PhotoIntake::abandon() {
    drops_.clear();
    if (!job_)
        return;
    job_->cancel();
    // The list is left as it stands: batches already sent are dropped.
    job_->disconnect(this);
    job_.reset();
    then_ = {};
    state_.isloading = false;
    window_.updatecounter();
    window_.showwheel(false);
}

void PhotoIntake::optionschanged() {
    if (job_)
        job_->setoptions(window_.admissionoptions());
}

} // namespace pivotel

#include "ui/photointake.h"

#include "photolist/extensions.h"
#include "photolist/folderscan.h"
#include "photolist/liststate.h"
#include "ui/dialogs.h"
#include "ui/eventyield.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace pivotel {

namespace {

// Counts an intake under way for as long as it lives.
class Busy {
  public:
    explicit Busy(int& depth) : depth_(depth) { ++depth_; }
    ~Busy() { --depth_; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

  private:
    int& depth_;
};

bool refreshesthecount(qint64 count) {
    return count >= 89 && count % 100 == 0;
}

} // namespace

PhotoIntake::PhotoIntake(PhotoListModel& list, ListState& state, Dialogs& dialogs, Window window)
    : list_(list), state_(state), dialogs_(dialogs), window_(std::move(window)) {
}

QString PhotoIntake::startfolder() const {
    if (!nowfolder_.isEmpty())
        return nowfolder_;
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}

void PhotoIntake::loadfiles() {
    const Busy busy(depth_);
    const QStringList chosen = dialogs_.choosefiles(window_.parent, QStringLiteral("Add Photos to List"),
                                                    startfolder(), extensions::dialogtypes());
    window_.showwheel(true);
    if (!chosen.isEmpty()) {
        state_.isloading = true;
        EventYield yield;
        qint64 count = 0;
        for (const QString& path : chosen) {
            if (abandoned_)
                break;
            ++count;
            const QFileInfo file(path);
            const QString name = file.fileName();
            if (!hasextension(name, extensions::loadfiles()))
                continue;
            // Moves before the content is looked at: a refused file moves the dialog too.
            nowfolder_ = file.absolutePath();
            const Admission admission = admitphoto(list_, name, path, window_.admissionoptions());
            if (admission.verdict == Verdict::NotJpeg)
                continue;
            if (refreshesthecount(count)) {
                window_.updatecounter();
                yield.now();
            } else {
                yield.maybe();
            }
        }
        window_.updatecounter();
    }
    state_.isloading = false;
    window_.showwheel(false);
}

void PhotoIntake::loadfolders() {
    const Busy busy(depth_);
    const QString folder = dialogs_.choosefolder(
        window_.parent,
        QStringLiteral("Select the Folder of Images which you want to Include on the List ... "),
        startfolder());
    if (!folder.isEmpty()) {
        const bool recursive = dialogs_.ask(
            window_.parent,
            {QStringLiteral("Load All Sub Folders"),
             QStringLiteral("Do You Want to Load All Images in All Sub Folders?"),
             QStringLiteral(
                 "By selecting 'Yes', All Images from the Sub Folders would be included in the list."),
             QStringLiteral("Yes"), QStringLiteral("No")});
        window_.showwheel(true);
        nowfolder_ = folder;

        EventYield yield;
        ScanCallbacks callbacks;
        callbacks.begin = [this] {
            state_.isloading = true;
        };
        callbacks.end = [this] {
            state_.isloading = false;
        };
        callbacks.file = [this](const QString& name, const QString& path) {
            if (abandoned_)
                return false;
            return admitphoto(list_, name, path, window_.admissionoptions()).verdict != Verdict::NotJpeg;
        };
        callbacks.hundredth = [this, &yield] {
            window_.updatecounter();
            yield.now();
        };
        callbacks.yield = [this, &yield] {
            if (!abandoned_)
                yield.maybe();
        };
        loadrecursive(folder, recursive, callbacks);
    }
    window_.updatecounter();
    window_.showwheel(false);
}

} // namespace pivotel

#pragma once

#include "engine/runoptions.h"
#include "photolist/liststate.h"
#include "photolist/photolistmodel.h"
#include "support/status.h"

#include <QMetaType>
#include <QThread>
#include <atomic>
#include <vector>

namespace pivotel {

class ExifTool;

enum class PhotoOutcome {
    Turned,  // rewritten and in place
    Missing, // not there at its turn
    Failed,  // there, but not done as asked; the reason says why (the photo is as it was, unless
             // only its file dates could not be kept)
};

struct PhotoReport {
    qint64 row = -1;
    PhotoRow photo;
    PhotoOutcome outcome = PhotoOutcome::Turned;
    QString reason;
};

// One run over a frozen work list, on its own thread (`processthread`). It reads nothing that
// the main thread can change: the list and the options are copies made when it was created.
// It leaves its progress in the shared ListState and announces each photo by queued signals.
class BatchRun : public QThread {
    Q_OBJECT
  public:
    BatchRun(WorkList filelist, RunOptions options, RunPlaces places, ListState& state,
             QObject* parent = nullptr);
    ~BatchRun() override;

    // Ends the run after the photo in work: that photo is finished or left whole.
    void requeststop() { stop_ = true; }

    const WorkList& filelist() const { return filelist_; }
    const RunOptions& options() const { return options_; }
    // What became of each photo; complete once the thread has finished.
    const std::vector<PhotoReport>& reports() const { return reports_; }

  signals:
    void photostarted(qint64 row, const QString& name);
    void photofinished(const pivotel::PhotoReport& report);

  protected:
    void run() override;

  private:
    void processall();
    PhotoReport processphoto(qint64 row, const PhotoRow& photo, ExifTool& tool);
    // Every step of one photo's turn that writes: the metadata dump of the untouched photo,
    // then the rotator, the EXIF transplant and the orientation and resolution rewrite, all on
    // the rewrite's working file, which then replaces the photo in one step; then the dates.
    Status turnphoto(const PhotoRow& photo, ExifTool& tool);
    // The rotator of this run, writing the turned photo to `working`.
    Status rotate(const PhotoRow& photo, const QString& working, ExifTool& tool);

    const WorkList filelist_;
    const RunOptions options_;
    const RunPlaces places_;
    ListState& state_;
    std::atomic<bool> stop_{false};
    std::vector<PhotoReport> reports_;
    qint64 jpgdpi_ = 72; // the resolution the photo in work keeps
};

} // namespace pivotel

Q_DECLARE_METATYPE(pivotel::PhotoReport)

#pragma once

#include "engine/runoptions.h"
#include "photolist/photolistmodel.h"
#include "support/status.h"

#include <QDeadlineTimer>
#include <QMetaType>
#include <QObject>
#include <QStringList>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace pivotel {

class ExifTool;

enum class PhotoOutcome {
    Turned,  // rewritten and in place
    Missing, // not there at its turn
    Failed,  // there, but not done as asked; the reason says why (the photo is as it was)
    Skipped, // needs no turn after all: the same photo as an earlier row, or already turned by
             // another run; the reason says which
};

// What became of one photo of a run.
struct PhotoReport {
    qint64 index = -1; // its place in the run's work list
    PhotoRow photo;
    PhotoOutcome outcome = PhotoOutcome::Turned;
    QString reason;
    QStringList notes; // for a turned photo: what else became of it (see Rotation::notes)
};

// One run over a frozen work list with frozen options, which the window and pivotel-cli both
// drive. The photos are turned in list order on a thread of the run's own (`processthread`);
// each photo's start and end are announced by signals, delivered in the thread the session
// lives in. The session reads nothing that its caller can change once it is made.
class RunSession : public QObject {
    Q_OBJECT
  public:
    RunSession(WorkList filelist, RunOptions options, RunPlaces places, QObject* parent = nullptr);
    // A run still going ends after its photo in work, which is finished or left whole.
    ~RunSession() override;

    void start();
    // Ends the run after the photo in work: that photo is finished or left whole, and no other
    // is begun.
    void requeststop();
    // Waits for the run's thread to end; false when the deadline came first.
    [[nodiscard]] bool wait(QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    [[nodiscard]] bool isrunning() const;

    [[nodiscard]] const WorkList& filelist() const { return filelist_; }
    [[nodiscard]] const RunOptions& options() const { return options_; }
    // What became of each photo so far, in list order; complete once the run has finished.
    [[nodiscard]] std::vector<PhotoReport> reports() const;

  signals:
    void photostarted(qint64 index, const QString& name);
    // Each step of a photo's turn as it begins ("checking the new file"), for a verbose view.
    void photostep(qint64 index, const QString& step);
    void photofinished(const pivotel::PhotoReport& report);
    // After the last photo's report: the run is over.
    void finished();

  private:
    class Worker;
    friend class Worker;

    void processall();
    // For each row, the first row of the list that names the same file (itself when none does).
    [[nodiscard]] std::vector<qint64> firstrows() const;
    [[nodiscard]] PhotoReport processphoto(qint64 index, const PhotoRow& photo, ExifTool& tool);
    // Every step of one photo's turn that writes: the metadata dump of the untouched photo,
    // then the rotator, the EXIF transplant and the orientation and resolution rewrite, all on
    // the rewrite's working file, which then replaces the photo in one step; then the dates.
    [[nodiscard]] Status turnphoto(qint64 index, const PhotoRow& photo, ExifTool& tool, QStringList& notes);
    void record(const PhotoReport& report);

    const WorkList filelist_;
    const RunOptions options_;
    const RunPlaces places_;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    std::vector<PhotoReport> reports_;
    std::unique_ptr<Worker> thread_;
};

} // namespace pivotel

Q_DECLARE_METATYPE(pivotel::PhotoReport)

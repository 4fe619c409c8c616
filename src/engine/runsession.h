#pragma once

#include "engine/runoptions.h"
#include "photolist/photolistmodel.h"
#include "support/status.h"

#include <QDeadlineTimer>
#include <QMetaType>
#include <QObject>
#include <QStringList>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
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
// drive. The photos are begun in list order by `options.jobs` workers, each on a thread of its
// own (the first is `processthread`) with its own metadata tool and working files; a photo is
// begun only when its memory need fits the budget beside the photos in work. Each photo's start
// and end are announced by signals, delivered in the thread the session lives in. The session
// reads nothing that its caller can change once it is made.
class RunSession : public QObject {
    Q_OBJECT
  public:
    RunSession(WorkList filelist, RunOptions options, RunPlaces places, QObject* parent = nullptr);
    // A run still going ends after its photos in work, which are finished or left whole.
    ~RunSession() override;

    void start();
    // Called on the photo's worker thread when its new file is ready to take its place, before
    // the last look at the photo: where a test plays another program saving the photo meanwhile.
    void setbeforereplace(std::function<void(qint64 index)> hook) { beforereplace_ = std::move(hook); }
    // Ends the run after the photos in work: they are finished or left whole, and no other is
    // begun.
    void requeststop();
    // Waits for the run's thread to end; false when the deadline came first.
    [[nodiscard]] bool wait(QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    [[nodiscard]] bool isrunning() const;

    [[nodiscard]] const WorkList& filelist() const { return filelist_; }
    [[nodiscard]] const RunOptions& options() const { return options_; }
    // How many photos the run turns at once.
    [[nodiscard]] int jobs() const { return jobs_; }
    // What became of each photo so far, in list order; complete once the run has finished.
    // Photos turned at once may end in another order; the signal tells each as it ends.
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
    // One worker: takes the next photo of the list, waits until its need fits the budget, turns
    // it, and so on until the list ends or the run is stopped.
    void work(int worker, const std::vector<qint64>& first);
    struct Admission {
        qint64 index = 0;
        qint64 need = 0;  // bytes, from the photo's header
        bool fits = true; // false: the photo alone needs more than the budget, and isn't turned
    };
    // The next photo to begin, announced, once its need fits beside the photos in work; none when
    // the run is over or stopped.
    [[nodiscard]] std::optional<Admission> admitnext(const std::vector<qint64>& first);
    void release(qint64 need);
    // For each row, the first row of the list that names the same file (itself when none does).
    [[nodiscard]] std::vector<qint64> firstrows() const;
    [[nodiscard]] PhotoReport processphoto(qint64 index, const PhotoRow& photo, int worker, ExifTool& tool);
    // Every step of one photo's turn that writes: the metadata dump of the untouched photo,
    // then the rotator, the EXIF transplant and the orientation and resolution rewrite, all on
    // the rewrite's working file, which then replaces the photo in one step; then the dates.
    [[nodiscard]] Status turnphoto(qint64 index, const PhotoRow& photo, int worker, ExifTool& tool,
                                   QStringList& notes);
    void record(const PhotoReport& report);

    const WorkList filelist_;
    const RunOptions options_;
    const RunPlaces places_;
    const qint64 budget_;
    const int jobs_; // workers
    // Threads each lossless turn codes its scans on: the cores the workers leave over.
    const int codingthreads_;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    std::vector<PhotoReport> reports_; // in list order
    // Admission of photos to the workers, one at a time, in list order.
    std::mutex admission_;
    std::condition_variable admitted_;
    qint64 next_ = 0;     // the next photo of the list to begin
    qint64 inuse_ = 0;    // what the photos in work need together
    bool taking_ = false; // a worker is admitting the next photo
    std::function<void(qint64)> beforereplace_;
    std::unique_ptr<Worker> thread_;
};

} // namespace pivotel

Q_DECLARE_METATYPE(pivotel::PhotoReport)

#pragma once

#include "look/lookverdict.h"
#include "photolist/action.h"

#include <QObject>
#include <QStringList>
#include <atomic>
#include <memory>
#include <vector>

class QThread;

namespace pivotel {

// The action that makes the clockwise quarter turns a picture check suggests.
[[nodiscard]] Action actionforturns(int turns);

// Looks at the pictures of photos ("Set All to Picture Check") off the main thread, on every
// core, each photo whose EXIF orientation leaves its upright open.
class LookJob : public QObject {
    Q_OBJECT
  public:
    explicit LookJob(QStringList paths, QObject* parent = nullptr);
    // Cancels the job and waits for its thread, which stops at its next photos.
    ~LookJob() override;

    void start();
    // Stops the job at its next photos, as the user asks: finished() still comes, with the
    // verdicts of the photos looked at so far and none for the others.
    void stop() {
        stopped_ = true;
        cancelled_ = true;
    }
    // One verdict per path, in order, once finished() has come.
    [[nodiscard]] const std::vector<LookVerdict>& results() const { return results_; }

  signals:
    // So many of the photos have been looked at.
    void progress(qint64 done, qint64 total);
    // Every photo was looked at, the job was stopped, or the check is unavailable: `unavailable`
    // says why. Not sent for a job cancelled by its end.
    void finished(const QString& unavailable);

  private:
    const QStringList paths_;
    std::vector<LookVerdict> results_;
    QString unavailable_;
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> stopped_{false};
    std::atomic<qint64> done_{0};
    std::unique_ptr<QThread> thread_;
};

} // namespace pivotel

#pragma once

#include "photolist/action.h"

#include <QObject>
#include <QStringList>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

class QThread;

namespace pivotel {

// Reads the EXIF orientation of photos again ("Set All to EXIF Orientation Check"), off the main
// thread: a list of thousands is a header read per photo.
class RecheckJob : public QObject {
    Q_OBJECT
  public:
    explicit RecheckJob(QStringList paths, QObject* parent = nullptr);
    // Cancels the job and waits for its thread, which stops at its next photo.
    ~RecheckJob() override;

    void start();
    void cancel() { cancelled_ = true; }
    // One result per path, in order, once finished() has come: the photo's action by its
    // orientation, none when the file can't be read.
    [[nodiscard]] const std::vector<std::optional<Action>>& results() const { return results_; }

  signals:
    // Every photo was read; not sent for a cancelled job.
    void finished();

  private:
    const QStringList paths_;
    std::vector<std::optional<Action>> results_;
    std::atomic<bool> cancelled_{false};
    std::unique_ptr<QThread> thread_;
};

} // namespace pivotel

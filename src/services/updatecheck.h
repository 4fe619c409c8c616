#pragma once

#include "services/updateversion.h"

#include <QFutureWatcher>
#include <QObject>
#include <QUrl>
#include <atomic>
#include <memory>

namespace pivotel {

// Asks the update server for the newest version without holding the calling thread: the fetch
// runs on a worker, and `answered` comes back on the object's own thread.
class UpdateCheck : public QObject {
    Q_OBJECT
  public:
    explicit UpdateCheck(QString ownversion, QObject* parent = nullptr);
    // A fetch under way is told to stop; its answer is dropped.
    ~UpdateCheck() override;

    // Starts a check. During one already under way no second starts: the answer of the first
    // is then given as verbose if either asked for it.
    void start(bool verbose);
    bool busy() const { return watcher_.isRunning(); }

    // The version file: $PIVOTEL_UPDATE_URL, else "/ver/pivotel.txt" on the build's update host.
    static QUrl versionurl();
    // The download for this platform, on the server of the version file.
    static QUrl downloadurl();

  signals:
    void answered(const pivotel::UpdateAnswer& answer, bool verbose);

  private:
    QString ownversion_;
    bool verbose_ = false;
    std::shared_ptr<std::atomic<bool>> cancelled_;
    QFutureWatcher<UpdateAnswer> watcher_;
};

} // namespace pivotel

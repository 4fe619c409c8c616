#pragma once

#include <QString>
#include <atomic>
#include <mutex>
#include <vector>

namespace pivotel {

// A photo a run could not turn, with the reason a user reads at the end of the run.
struct PhotoFailure {
    QString name;
    QString path;
    QString reason;
};

// The flags that tell what the window is doing, and the few values the worker leaves for the
// main thread to show. The worker writes the atomics and the guarded texts; nothing else is
// shared between the two threads.
class ListState {
  public:
    std::atomic<bool> isrunning{false};    // a run is going
    std::atomic<bool> boliao{false};       // the run's end has yet to be handled on the main thread
    std::atomic<bool> isloading{false};    // an intake is appending rows (main thread only)
    std::atomic<bool> candopreview{false}; // a vanished photo may be reported by the preview
    std::atomic<qint64> currentrow{-1};    // the row of `filelist` in work, or the row last pressed

    // The status line the worker writes ("Rotating " + name).
    void setstatus(const QString& text);
    QString status() const;

    // Display names of the photos a run found missing, each behind a line end.
    void appendmissing(const QString& displayname);
    QString failedlist() const;
    void clearfailedlist();

    // Photos that were there but could not be turned.
    void addfailure(PhotoFailure failure);
    std::vector<PhotoFailure> failures() const;
    void clearfailures();

  private:
    mutable std::mutex mutex_;
    QString xstatus_;
    QString failedlist_;
    std::vector<PhotoFailure> failures_;
};

} // namespace pivotel

#pragma once

#include "photolist/admission.h"
#include "photolist/photolistmodel.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QStringList>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

class QThread;

namespace pivotel {

// What an intake takes in: the files a dialog chose, in order, or a folder with or without its
// sub folders, or the files and folders of a drop (or of the command line), in order, each folder
// with all its sub folders.
struct IntakeRequest {
    QStringList files;
    QString folder;
    bool recursive = false;
    bool dropped = false; // `files` are a drop's items
};

// Takes photos in off the main thread: walks the folder (or the chosen files), judges each
// photo and hands the admitted rows over in batches, in the order they were found, through
// signals delivered in the thread the job lives in. Cancelling ends the walk at its next item.
class IntakeJob : public QObject {
    Q_OBJECT
  public:
    IntakeJob(IntakeRequest request, AdmissionOptions options, QObject* parent = nullptr);
    // Cancels the job and waits for its thread, which stops at its next item.
    ~IntakeJob() override;

    void start();
    void cancel();
    [[nodiscard]] bool wait(QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    // The options a photo not yet judged is judged by: the user may change them mid-intake.
    void setoptions(const AdmissionOptions& options);

  signals:
    void rowsfound(const std::vector<pivotel::PhotoRow>& rows);
    // After the last batch; `cancelled` when the job was cancelled before its end.
    void finished(bool cancelled);

  private:
    void walk();
    void take(const QString& name, const QString& path);
    void flush();
    [[nodiscard]] AdmissionOptions options() const;

    const IntakeRequest request_;
    mutable std::mutex mutex_;
    AdmissionOptions options_;
    std::atomic<bool> cancelled_{false};
    std::vector<PhotoRow> batch_;
    qint64 lastflushms_ = 0;
    std::unique_ptr<QThread> thread_;
};

} // namespace pivotel

Q_DECLARE_METATYPE(std::vector<pivotel::PhotoRow>)

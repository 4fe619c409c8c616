#include "photolist/intakejob.h"

#include "photolist/extensions.h"
#include "photolist/folderscan.h"
#include "support/nativepath.h"

#include <QDateTime>
#include <QThread>

namespace pivotel {

namespace {

// A batch goes to the list when it is this big or this old: big enough that a list of
// thousands is not redrawn per row, soon enough that rows appear as the scan finds them.
constexpr size_t batchrows = 200;
constexpr qint64 batchms = 100;

} // namespace

IntakeJob::IntakeJob(IntakeRequest request, AdmissionOptions options, QObject* parent)
    : QObject(parent), request_(std::move(request)), options_(options) {
    qRegisterMetaType<std::vector<PhotoRow>>();
}

IntakeJob::~IntakeJob() {
    cancel();
    if (thread_)
        thread_->wait();
}

void IntakeJob::start() {
    thread_.reset(QThread::create([this] { walk(); }));
    thread_->setObjectName(QStringLiteral("intakejob"));
    thread_->start();
}

void IntakeJob::cancel() {
    cancelled_ = true;
}

bool IntakeJob::wait(QDeadlineTimer deadline) {
    return !thread_ || thread_->wait(deadline);
}

void IntakeJob::setoptions(const AdmissionOptions& options) {
    const std::lock_guard lock(mutex_);
    options_ = options;
}

AdmissionOptions IntakeJob::options() const {
    const std::lock_guard lock(mutex_);
    return options_;
}

void IntakeJob::walk() {
    lastflushms_ = QDateTime::currentMSecsSinceEpoch();
    ScanCallbacks callbacks;
    callbacks.stop = [this] {
        return cancelled_.load();
    };
    callbacks.file = [this](const QString& name, const QString& path) {
        take(name, path);
    };
    if (request_.folder.isEmpty()) {
        const QStringList& set = request_.dropped ? extensions::drop() : extensions::loadfiles();
        for (const QString& path : request_.files) {
            if (cancelled_)
                break;
            if (request_.dropped && isfolder(path))
                loadrecursive(path, true, callbacks);
            else if (hasextension(filenameof(path), set))
                take(filenameof(path), path);
        }
    } else {
        loadrecursive(request_.folder, request_.recursive, callbacks);
    }
    flush();
    emit finished(cancelled_);
}

void IntakeJob::take(const QString& name, const QString& path) {
    const Admission admission = judgephoto(path, options());
    if (admission.verdict == Verdict::Admitted)
        batch_.push_back({name, admission.action, path, options().useexiforientation});
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (batch_.size() >= batchrows || now - lastflushms_ >= batchms) {
        flush();
        lastflushms_ = now;
    }
}

void IntakeJob::flush() {
    if (batch_.empty())
        return;
    emit rowsfound(batch_);
    batch_.clear();
}

} // namespace pivotel

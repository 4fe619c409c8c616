#include "photolist/recheckjob.h"

#include "photolist/probes.h"

#include <QThread>

namespace pivotel {

RecheckJob::RecheckJob(QStringList paths, QObject* parent) : QObject(parent), paths_(std::move(paths)) {
}

RecheckJob::~RecheckJob() {
    cancel();
    if (thread_)
        thread_->wait();
}

void RecheckJob::start() {
    thread_.reset(QThread::create([this] {
        results_.reserve(static_cast<size_t>(paths_.size()));
        for (const QString& path : paths_) {
            if (cancelled_)
                return;
            results_.push_back(getorientation(path));
        }
    }));
    thread_->setObjectName(QStringLiteral("recheckjob"));
    // The results are whole once the thread has ended; this object's thread hears of it then.
    connect(thread_.get(), &QThread::finished, this, [this] {
        if (!cancelled_)
            emit finished();
    });
    thread_->start();
}

} // namespace pivotel

#include "photolist/lookjob.h"

#include "look/lookbatch.h"

#include <QThread>

namespace pivotel {

Action actionforturns(int turns) {
    switch (turns) {
    case 1:
        return Action::Rotate90Clockwise;
    case 2:
        return Action::Rotate180;
    case 3:
        return Action::Rotate90Counterclockwise;
    default:
        return Action::AsIs;
    }
}

LookJob::LookJob(QStringList paths, QObject* parent) : QObject(parent), paths_(std::move(paths)) {
}

LookJob::~LookJob() {
    cancelled_ = true;
    if (thread_)
        thread_->wait();
}

void LookJob::start() {
    results_.resize(static_cast<size_t>(paths_.size()));
    thread_.reset(QThread::create([this] {
        // Each worker writes only its own photo's slot.
        const Status looked = lookatphotos(
            paths_, 0,
            [this](qsizetype index, const LookVerdict& verdict) {
                results_[static_cast<size_t>(index)] = verdict;
                emit progress(++done_, paths_.size());
            },
            [this] { return cancelled_.load(); });
        if (!looked)
            unavailable_ = looked.reason();
    }));
    thread_->setObjectName(QStringLiteral("lookjob"));
    connect(thread_.get(), &QThread::finished, this, [this] {
        if (!cancelled_ || stopped_)
            emit finished(unavailable_);
    });
    thread_->start();
}

} // namespace pivotel

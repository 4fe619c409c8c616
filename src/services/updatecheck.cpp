#include "services/updatecheck.h"

#include "services/versionfetch.h"

#include <QtConcurrent/QtConcurrentRun>

namespace pivotel {

UpdateCheck::UpdateCheck(QString ownversion, QObject* parent)
    : QObject(parent), ownversion_(std::move(ownversion)) {
    connect(&watcher_, &QFutureWatcherBase::finished, this,
            [this] { emit answered(watcher_.result(), std::exchange(verbose_, false)); });
}

UpdateCheck::~UpdateCheck() {
    if (cancelled_)
        cancelled_->store(true);
}

void UpdateCheck::start(bool verbose) {
    verbose_ = verbose_ || verbose;
    if (busy())
        return;
    cancelled_ = std::make_shared<std::atomic<bool>>(false);
    const FetchRequest request{versionurl(), qEnvironmentVariable("PIVOTEL_UPDATE_CA"), {}};
    watcher_.setFuture(QtConcurrent::run([request, own = ownversion_, cancelled = cancelled_] {
        const Result<QByteArray> body = fetchversionfile(request, *cancelled);
        return body ? judgeupdate(body.value(), own) : UpdateAnswer{};
    }));
}

QUrl UpdateCheck::versionurl() {
    const QString override = qEnvironmentVariable("PIVOTEL_UPDATE_URL");
    if (!override.isEmpty())
        return QUrl(override);
    return QUrl(QStringLiteral("https://" PIVOTEL_UPDATE_HOST "/ver/pivotel.txt"));
}

QUrl UpdateCheck::downloadurl() {
    return versionurl().resolved(QUrl(downloadpath(thisplatform())));
}

} // namespace pivotel

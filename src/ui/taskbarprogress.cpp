#include "ui/taskbarprogress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

namespace pivotel {

void TaskbarProgress::show(qint64 done, qint64 total) {
    const double progress = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0.0;
    // Twenty ticks a second would flood the bus with the same news.
    if (progress != last_)
        send(progress, true);
}

void TaskbarProgress::hide() {
    if (last_ >= 0)
        send(0.0, false);
    last_ = -1;
}

void TaskbarProgress::send(double progress, bool visible) {
    last_ = progress;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/com/zenthori/pivotel"),
                                                     QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                                     QStringLiteral("Update"));
    // The entry is named by the desktop file the program is installed with.
    signal << QStringLiteral("application://com.zenthori.pivotel.desktop")
           << QVariantMap{{QStringLiteral("progress"), progress},
                          {QStringLiteral("progress-visible"), visible}};
    bus.send(signal);
}

} // namespace pivotel

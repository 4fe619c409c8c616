#include "cli/report.h"

#include "photolist/action.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace pivotel::cli {

namespace {

QString photos(qsizetype n) {
    return n == 1 ? QStringLiteral("1 photo") : QStringLiteral("%1 photos").arg(n);
}

QJsonArray entries(const std::vector<Entry>& list, bool turned) {
    QJsonArray array;
    for (const Entry& entry : list) {
        QJsonObject object{{QStringLiteral("path"), entry.path}, {QStringLiteral("code"), entry.code}};
        if (!entry.action.isEmpty()) {
            object.insert(QStringLiteral("action"), entry.action);
            if (const auto action = actionfortoken(entry.action))
                object.insert(QStringLiteral("actiontext"), labelof(*action));
        }
        if (!entry.cue.isEmpty()) {
            object.insert(QStringLiteral("from"), QStringLiteral("picture"));
            object.insert(QStringLiteral("cue"), entry.cue);
        }
        if (!turned)
            object.insert(QStringLiteral("reason"), entry.text);
        if (!entry.notes.isEmpty())
            object.insert(QStringLiteral("notes"), QJsonArray::fromStringList(entry.notes));
        array.append(object);
    }
    return array;
}

} // namespace

int RunReport::exitcode() const {
    if (earlyexit != 0)
        return earlyexit;
    if (stopsignal != 0)
        return 128 + stopsignal;
    return failed.empty() ? 0 : 1;
}

QString RunReport::summarytext(bool errorsonly) const {
    QString text;
    const QString done = reencode ? QStringLiteral("re-encoded") : QStringLiteral("turned");
    if (errorsonly) {
        // no counts: --quiet says only what went wrong
    } else if (dryrun) {
        text += QStringLiteral("Dry run: %1 would be %2, %3 skipped, %4 failed.\n")
                    .arg(photos(qsizetype(turned.size())), done)
                    .arg(skipped.size())
                    .arg(failed.size());
    } else {
        text += QStringLiteral("%1 %2, skipped %3, failed %4.\n")
                    .arg(done.left(1).toUpper() + done.mid(1), photos(qsizetype(turned.size())))
                    .arg(skipped.size())
                    .arg(failed.size());
    }
    QString noted;
    for (const Entry& entry : turned) {
        if (!entry.notes.isEmpty())
            noted += QStringLiteral("  %1: %2\n").arg(entry.path, entry.notes.join(QStringLiteral("; ")));
    }
    if (!noted.isEmpty() && !errorsonly)
        text += QStringLiteral("Turned, with a note:\n") + noted;
    if (!failed.empty()) {
        text += QStringLiteral("Not done:\n");
        for (const Entry& entry : failed)
            text += QStringLiteral("  %1: %2\n").arg(entry.path, entry.text);
    }
    return text;
}

QByteArray RunReport::json() const {
    const QString done = dryrun ? QStringLiteral("planned") : QStringLiteral("turned");
    QJsonObject counts{{done, qint64(turned.size())},
                       {QStringLiteral("skipped"), qint64(skipped.size())},
                       {QStringLiteral("failed"), qint64(failed.size())}};
    // "version" changes only when a key or a code changes meaning or goes away.
    QJsonObject root{{QStringLiteral("version"), 1},
                     {QStringLiteral("dryrun"), dryrun},
                     {QStringLiteral("stopped"), stopsignal != 0},
                     {QStringLiteral("exitcode"), exitcode()},
                     {done, entries(turned, true)},
                     {QStringLiteral("skipped"), entries(skipped, false)},
                     {QStringLiteral("failed"), entries(failed, false)},
                     {QStringLiteral("counts"), counts}};
    if (!message.isEmpty())
        root.insert(QStringLiteral("message"), message);
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

} // namespace pivotel::cli

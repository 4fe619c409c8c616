#include "cli/report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace pivotel::cli {

namespace {

QString photos(qsizetype n) {
    return n == 1 ? QStringLiteral("1 photo") : QStringLiteral("%1 photos").arg(n);
}

QJsonArray entries(const std::vector<Entry>& list, const QString& key) {
    QJsonArray array;
    for (const Entry& entry : list) {
        QJsonObject object{{QStringLiteral("path"), entry.path}, {key, entry.text}};
        if (!entry.notes.isEmpty())
            object.insert(QStringLiteral("notes"), QJsonArray::fromStringList(entry.notes));
        array.append(object);
    }
    return array;
}

} // namespace

QString RunReport::summarytext() const {
    QString text;
    const QString done = reencode ? QStringLiteral("re-encoded") : QStringLiteral("turned");
    if (dryrun) {
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
    if (!noted.isEmpty())
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
    QJsonObject root{{QStringLiteral("dryrun"), dryrun},
                     {done, entries(turned, QStringLiteral("action"))},
                     {QStringLiteral("skipped"), entries(skipped, QStringLiteral("reason"))},
                     {QStringLiteral("failed"), entries(failed, QStringLiteral("reason"))},
                     {QStringLiteral("counts"), counts}};
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

} // namespace pivotel::cli

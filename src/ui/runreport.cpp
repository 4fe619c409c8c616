#include "ui/runreport.h"

namespace pivotel {

QString endofrunmessage(const std::vector<PhotoReport>& reports, const QStringList& stopped) {
    QString missing, failed, noted;
    for (const PhotoReport& report : reports) {
        if (report.outcome == PhotoOutcome::Skipped)
            noted += QLatin1Char('\n') + report.photo.name + QStringLiteral(": not turned, ") + report.reason;
        else if (report.outcome == PhotoOutcome::Turned && !report.notes.isEmpty())
            noted += QLatin1Char('\n') + report.photo.name + QStringLiteral(": ") +
                     report.notes.join(QStringLiteral("; "));
        else if (report.outcome == PhotoOutcome::Missing)
            missing += QLatin1Char('\n') + report.photo.name;
        else if (report.outcome == PhotoOutcome::Failed)
            failed += QLatin1Char('\n') + report.photo.name + QStringLiteral(": ") + report.reason;
    }
    // Notes only follow the usual message: a run whose photos were all turned is still done.
    const QString notes = noted.isEmpty() ? QString() : QStringLiteral("\n\nOf note:") + noted;
    QString notdone;
    for (const QString& name : stopped)
        notdone += QLatin1Char('\n') + name + QStringLiteral(": stopped");
    if (!notdone.isEmpty())
        notdone = QStringLiteral("\n\nNot Done:") + notdone;
    if (missing.isEmpty() && failed.isEmpty())
        return (stopped.isEmpty() ? QStringLiteral("All Done") : QStringLiteral("Stopped")) + notes + notdone;

    QString message;
    if (!missing.isEmpty()) {
        // Every entry of the list begins with a line end, so a blank line follows the sentence.
        message =
            QStringLiteral("The Following Files Could not be Processed as they may be missing or deleted\n") +
            missing;
    }
    if (!failed.isEmpty()) {
        if (!message.isEmpty())
            message += QStringLiteral("\n\n");
        message +=
            QStringLiteral("The Following Photos Could not be Rotated and were Left Unchanged\n") + failed;
    }
    return message + notes + notdone;
}

} // namespace pivotel

#include "ui/runreport.h"

namespace pivotel {

QString endofrunmessage(const QString& failedlist, const std::vector<PhotoFailure>& failures) {
    const bool missing = !failedlist.trimmed().isEmpty();
    if (!missing && failures.empty())
        return QStringLiteral("All Done");

    QString message;
    if (missing) {
        // Every entry of the list begins with a line end, so a blank line follows the sentence.
        message =
            QStringLiteral("The Following Files Could not be Processed as they may be missing or deleted\n") +
            failedlist;
    }
    if (!failures.empty()) {
        if (!message.isEmpty())
            message += QStringLiteral("\n\n");
        message += QStringLiteral("The Following Photos Could not be Rotated and were Left Unchanged\n");
        for (const PhotoFailure& failure : failures) {
            message += QLatin1Char('\n');
            message += failure.name.isEmpty() ? failure.reason
                                              : failure.name + QStringLiteral(": ") + failure.reason;
        }
    }
    return message;
}

} // namespace pivotel

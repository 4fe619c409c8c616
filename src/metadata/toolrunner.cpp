#include "metadata/toolrunner.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <algorithm>
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace pivotel {

namespace {

// The tool's own words for a failure: its first "Error: MESSAGE - FILE" line (warnings may come
// before it) as MESSAGE, since FILE is at best a working file the user never named.
QString errorline(const QByteArray& err) {
    const QStringList lines = QString::fromUtf8(err).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.isEmpty())
        return QString();
    const auto error = std::find_if(lines.begin(), lines.end(), [](const QString& line) {
        return line.startsWith(QLatin1String("Error: "));
    });
    if (error == lines.end())
        return lines.front().trimmed();
    QString message = error->mid(7);
    const qsizetype file = message.lastIndexOf(QLatin1String(" - /"));
    if (file > 0)
        message.truncate(file);
    return message.trimmed();
}

} // namespace

QString ToolResult::failuretext() const {
    if (!started)
        return QStringLiteral("the metadata tool could not be started");
    if (timedout)
        return QStringLiteral("the metadata tool did not answer in time");
    if (exitcode < 0)
        return QStringLiteral("the metadata tool stopped unexpectedly");
    if (exitcode != 0) {
        const QString detail = errorline(err);
        return detail.isEmpty() ? QStringLiteral("the metadata tool failed (exit %1)").arg(exitcode) : detail;
    }
    return QString();
}

void endwithparent(QProcess& process) {
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        // The parent may have died before the request was made.
        if (::getppid() != parent)
            ::_exit(127);
    });
}

ToolResult runandread(const QString& program, const QStringList& arguments, int timeoutms) {
    ToolResult result;
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    endwithparent(process);
    const QDeadlineTimer deadline(timeoutms);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(int(deadline.remainingTime())))
        return result;
    result.started = true;
    // QProcess keeps draining both pipes while it waits, so the child never stalls on them.
    if (!process.waitForFinished(int(deadline.remainingTime()))) {
        result.timedout = true;
        process.kill();
        process.waitForFinished(1000);
    }
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    if (!result.timedout)
        result.exitcode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

bool launchonly(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace pivotel

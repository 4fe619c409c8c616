#include "metadata/stayopentool.h"

#include "support/nativepath.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <algorithm>

namespace pivotel {

namespace {

constexpr int stopwaitms = 3000;

int remaining(const QDeadlineTimer& deadline) {
    return int(std::max<qint64>(0, deadline.remainingTime()));
}

// The exit status in the marker that ends `err`, or -1 while the marker isn't complete.
int takestatus(QByteArray& err, const QByteArray& marker) {
    if (!err.endsWith("}\n"))
        return -1;
    const qsizetype at = err.lastIndexOf(marker);
    if (at < 0)
        return -1;
    bool number = false;
    const int status = err.mid(at + marker.size(), err.size() - 2 - at - marker.size()).toInt(&number);
    if (!number)
        return -1;
    err.truncate(at);
    return status;
}

} // namespace

StayOpenTool::StayOpenTool(QString program)
    : program_(std::move(program)), nextid_(QRandomGenerator::global()->bounded(1000000u) * 1000000ull) {
}

StayOpenTool::~StayOpenTool() {
    if (!process_ || process_->state() == QProcess::NotRunning)
        return;
    process_->write("-stay_open\nFalse\n");
    process_->closeWriteChannel();
    if (!process_->waitForFinished(stopwaitms)) {
        process_->kill();
        process_->waitForFinished(stopwaitms);
    }
}

bool StayOpenTool::carries(const QString& argument) {
    if (argument.isEmpty() || argument.front().isSpace() || argument.front() == QLatin1Char('#'))
        return false;
    return !argument.contains(QLatin1Char('\n')) && !argument.contains(QLatin1Char('\r'));
}

qint64 StayOpenTool::processid() const {
    return process_ && process_->state() == QProcess::Running ? process_->processId() : 0;
}

bool StayOpenTool::start(const QDeadlineTimer& deadline) {
    process_ = std::make_unique<QProcess>();
    process_->setProgram(program_);
    process_->setArguments(
        {QStringLiteral("-stay_open"), QStringLiteral("True"), QStringLiteral("-@"), QStringLiteral("-")});
    endwithparent(*process_);
    process_->start();
    if (!process_->waitForStarted(remaining(deadline))) {
        discard();
        return false;
    }
    return true;
}

void StayOpenTool::discard() {
    if (process_ && process_->state() != QProcess::NotRunning) {
        process_->kill();
        process_->waitForFinished(stopwaitms);
    }
    process_.reset();
    pending_.clear();
}

quint64 StayOpenTool::send(const QStringList& arguments, int timeoutms) {
    const QDeadlineTimer deadline(timeoutms);
    // A process that ended between two commands (killed, say) is replaced before it is used.
    if (process_ && (process_->state() != QProcess::Running || process_->waitForFinished(0)))
        discard();
    if (!process_ && !start(deadline))
        return 0;

    const quint64 id = ++nextid_;
    QByteArray input;
    for (const QString& argument : arguments)
        input += nativepath(argument) + '\n';
    const QByteArray number = QByteArray::number(id);
    input += "-echo4\n{pivotel" + number + " status ${status}}\n-execute" + number + '\n';
    process_->write(input);
    pending_.push_back({id, deadline});
    return id;
}

ToolResult StayOpenTool::collect(quint64 ticket) {
    while (!pending_.empty() && pending_.front().id != ticket) {
        const Pending earlier = pending_.front();
        read(earlier);
    }
    if (pending_.empty())
        return {}; // never sent, or lost with a process that died
    return read(pending_.front());
}

ToolResult StayOpenTool::read(const Pending& pending) {
    const QByteArray id = QByteArray::number(pending.id);
    const QByteArray marker = "{pivotel" + id + " status ";
    const QByteArray ready = "{ready" + id + "}\n";
    ToolResult result;
    result.started = true;
    bool outdone = false;
    int status = -1;
    for (;;) {
        result.out += process_->readAllStandardOutput();
        result.err += process_->readAllStandardError();
        if (!outdone && result.out.endsWith(ready)) {
            result.out.chop(ready.size());
            outdone = true;
        }
        if (status < 0)
            status = takestatus(result.err, marker);
        if (outdone && status >= 0) {
            result.exitcode = status;
            pending_.pop_front();
            return result;
        }
        if (process_->state() != QProcess::Running) {
            discard(); // died in the middle of the command: exitcode stays -1
            return result;
        }
        if (pending.deadline.hasExpired()) {
            result.timedout = true;
            discard();
            return result;
        }
        // While it waits on one channel QProcess drains the other, so neither pipe fills up.
        process_->setReadChannel(outdone ? QProcess::StandardError : QProcess::StandardOutput);
        process_->waitForReadyRead(remaining(pending.deadline));
    }
}

} // namespace pivotel

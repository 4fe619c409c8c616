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
    if (!pending_.empty())
        lostthrough_ = pending_.back().id;
    pending_.clear();
    out_.clear();
    err_.clear();
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
    // QProcess holds what is written until an event loop or a wait hands it on: a command sent
    // ahead, to run while the photo turns, would otherwise wait for the next collect.
    process_->waitForBytesWritten(0);
    pending_.push_back({id, deadline});
    return id;
}

ToolResult StayOpenTool::collect(quint64 ticket) {
    while (!pending_.empty() && pending_.front().id != ticket) {
        const Pending earlier = pending_.front();
        read(earlier);
    }
    if (pending_.empty()) {
        ToolResult lost;
        // Sent to a process that died before answering: stopped unexpectedly (exitcode -1).
        lost.started = ticket != 0 && ticket <= lostthrough_;
        return lost;
    }
    return read(pending_.front());
}

ToolResult StayOpenTool::read(const Pending& pending) {
    const QByteArray id = QByteArray::number(pending.id);
    const QByteArray marker = "{pivotel" + id + " status ";
    const QByteArray ready = "{ready" + id + "}\n";
    ToolResult result;
    result.started = true;
    for (;;) {
        out_ += process_->readAllStandardOutput();
        err_ += process_->readAllStandardError();
        // A command's output ends at its "{ready<id>}", its errors at the marker with its status;
        // what follows is a later command's, and stays for it.
        const qsizetype outend = out_.indexOf(ready);
        const qsizetype errat = err_.indexOf(marker);
        const qsizetype errend = errat < 0 ? -1 : err_.indexOf("}\n", errat);
        if (outend >= 0 && errend >= 0) {
            bool number = false;
            const int status = err_.mid(errat + marker.size(), errend - errat - marker.size()).toInt(&number);
            result.exitcode = number ? status : -1;
            result.out = out_.left(outend);
            out_.remove(0, outend + ready.size());
            result.err = err_.left(errat);
            err_.remove(0, errend + 2);
            pending_.pop_front();
            return result;
        }
        const bool died = process_->state() != QProcess::Running;
        result.timedout = !died && pending.deadline.hasExpired();
        if (died || result.timedout) {
            // Died in the middle of the command (exitcode stays -1), or took too long.
            result.out = out_;
            result.err = err_;
            discard();
            return result;
        }
        // While it waits on one channel QProcess drains the other, so neither pipe fills up.
        process_->setReadChannel(outend >= 0 ? QProcess::StandardError : QProcess::StandardOutput);
        process_->waitForReadyRead(remaining(pending.deadline));
    }
}

} // namespace pivotel

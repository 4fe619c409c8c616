#pragma once

#include "metadata/toolrunner.h"

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>
#include <deque>
#include <memory>

class QProcess;

namespace pivotel {

// One exiftool process in "-stay_open True -@ -" mode, serving command after command, so that
// Perl and the tool's library load once per run instead of once per step.
//
// A command goes to the tool's standard input one argument per line, followed by "-echo4" with
// a marker and "-execute<id>". The tool answers on standard output with the command's output
// and "{ready<id>}"; the marker, with the command's exit status in it, ends what it wrote to
// standard error. So output, errors and status are kept apart for every command.
class StayOpenTool {
  public:
    explicit StayOpenTool(QString program);
    // Asks the tool to end, and ends it if it doesn't.
    ~StayOpenTool();
    StayOpenTool(const StayOpenTool&) = delete;
    StayOpenTool& operator=(const StayOpenTool&) = delete;

    // A command in two halves, so that the tool works while the caller does something else:
    // send() hands it over, starting the process first when none runs (or the last one died),
    // and answers its ticket (0 when no process could be started); collect() waits for that
    // command's result. After a time-out or a death the process is gone, and the next command
    // starts a new one. Commands are answered in the order they were sent: collecting one drops
    // the results of earlier ones not collected. Every argument must be one that carries()
    // accepts.
    quint64 send(const QStringList& arguments, int timeoutms);
    ToolResult collect(quint64 ticket);

    // Whether an argument reaches the tool unchanged through the argument stream. The tool
    // reads a line per argument, drops blanks at its start, takes a line beginning with '#'
    // as a comment and an empty one as nothing.
    static bool carries(const QString& argument);

    // The running process's id, 0 when none runs.
    qint64 processid() const;

  private:
    struct Pending {
        quint64 id;
        QDeadlineTimer deadline;
    };

    bool start(const QDeadlineTimer& deadline);
    void discard();
    ToolResult read(const Pending& pending);

    QString program_;
    std::unique_ptr<QProcess> process_;
    // The ids of the commands: a random start makes a marker that a photo's text could
    // contain by chance unlikely to be one this process is waiting for.
    quint64 nextid_;
    // Commands sent and not yet answered, oldest first.
    std::deque<Pending> pending_;
    quint64 lostthrough_ = 0; // commands up to this one went with a process that died
    // What the process wrote and no command has taken yet: the start of later commands' answers.
    QByteArray out_;
    QByteArray err_;
};

} // namespace pivotel

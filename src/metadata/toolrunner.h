#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class QProcess;

namespace pivotel {

// What a child process left behind: kept so that a failed step can be named in a report.
struct ToolResult {
    bool started = false;
    bool timedout = false;
    int exitcode = -1; // -1 when the child was ended by a signal or never finished
    QByteArray out;
    QByteArray err;

    // The child ran to its end, whatever its exit status.
    bool ran() const { return started && !timedout && exitcode >= 0; }
    bool ok() const { return ran() && exitcode == 0; }
    // One line for a report: why the child failed, or empty when it didn't.
    QString failuretext() const;
};

// Runs a program with an argument list (no shell), reading its output while it runs so that a
// large output can't block it, and waits for its end or the time-out.
ToolResult runandread(const QString& program, const QStringList& arguments, int timeoutms);

// Starts a program and doesn't wait for it.
bool launchonly(const QString& program, const QStringList& arguments);

// Makes a child that `process` starts die with the thread that starts it: a tool left running
// after the program was killed could still write into a working file that a later run reuses.
void endwithparent(QProcess& process);

} // namespace pivotel

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace pivotel {

// What a child process left behind: kept so that a failed step can be named in a report.
struct ToolResult {
    bool started = false;
    bool timedout = false;
    int exitcode = -1;
    QByteArray out;
    QByteArray err;

    bool ok() const { return started && !timedout && exitcode == 0; }
    // One line for a report: why the child failed, or empty when it didn't.
    QString failuretext() const;
};

// Runs a program with an argument list (no shell), reading its output while it runs so that a
// large output can't block it, and waits for its end or the time-out.
ToolResult runandread(const QString& program, const QStringList& arguments, int timeoutms);

// Starts a program and doesn't wait for it.
bool launchonly(const QString& program, const QStringList& arguments);

} // namespace pivotel

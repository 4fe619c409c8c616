#pragma once

#include "metadata/toolrunner.h"

#include <QString>
#include <QStringList>
#include <memory>

namespace pivotel {

class StayOpenTool;

// How the metadata tool's commands are run.
enum class ToolMode {
    StayOpen, // one long-lived process serves every command
    OneShot,  // a new process per command: the slow way, kept to measure against
};

// The metadata tool as a run uses it: one command at a time, each with its own argument list.
// A missing tool is not an error: callers test exists() and skip their step in silence.
//
// Commands go to one long-lived process, started on first use and restarted when it has died;
// one whose arguments can't travel through that process's argument stream (a path with a line
// break) runs in a process of its own. The object belongs to the thread that made it.
class ExifTool {
  public:
    explicit ExifTool(QString toolfile, ToolMode mode = defaultmode(), int timeoutms = defaulttimeoutms);
    ~ExifTool();
    ExifTool(const ExifTool&) = delete;
    ExifTool& operator=(const ExifTool&) = delete;

    const QString& toolfile() const { return toolfile_; }
    bool exists() const;

    // Runs one command and returns all it printed, its errors and its exit status.
    ToolResult run(const QStringList& arguments);

    // A command handed over by send(), answered by collect().
    struct Sent {
        quint64 ticket = 0;    // the long-lived process's, 0 when it has none
        QStringList arguments; // a command that process can't take, run by collect()
    };
    // run() in two halves, so that the tool works (and starts, for a run's first command) while
    // the caller turns the photo. Commands are answered in the order sent; one not collected is
    // dropped when a later one is.
    Sent send(const QStringList& arguments);
    ToolResult collect(const Sent& sent);

    // Hands the long-lived process a command whose answer nobody reads, once for each such
    // process: what the tool loads for it is then ready for the commands that follow.
    void preload(const QStringList& arguments);

    // The long-lived process's id, 0 when none runs.
    qint64 processid() const;

    // StayOpen, or OneShot when the environment variable PIVOTEL_EXIFTOOL_ONESHOT is 1.
    static ToolMode defaultmode();

    // Bound on one command, after which the photo is reported and the run goes on.
    static constexpr int defaulttimeoutms = 120 * 1000;

  private:
    QString toolfile_;
    ToolMode mode_;
    int timeoutms_;
    std::unique_ptr<StayOpenTool> stayopen_;
    qint64 preloadedin_ = 0; // the process that had the preload
};

} // namespace pivotel

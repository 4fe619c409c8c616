#pragma once

#include "metadata/toolrunner.h"

#include <QString>
#include <QStringList>

namespace pivotel {

// The metadata tool as a run uses it: one command at a time, each with its own argument list.
// A missing tool is not an error: callers test exists() and skip their step in silence.
class ExifTool {
  public:
    explicit ExifTool(QString toolfile);

    const QString& toolfile() const { return toolfile_; }
    bool exists() const;

    // Runs one command and returns all it printed.
    ToolResult run(const QStringList& arguments);

    // Bound on one command, after which the photo is reported and the run goes on.
    static constexpr int timeoutms = 120 * 1000;

  private:
    QString toolfile_;
};

} // namespace pivotel

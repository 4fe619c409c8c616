#include "metadata/exiftool.h"

#include "metadata/stayopentool.h"

#include <QFileInfo>
#include <algorithm>

namespace pivotel {

ExifTool::ExifTool(QString toolfile, ToolMode mode, int timeoutms)
    : toolfile_(std::move(toolfile)), mode_(mode), timeoutms_(timeoutms) {
}

ExifTool::~ExifTool() = default;

bool ExifTool::exists() const {
    return QFileInfo::exists(toolfile_);
}

ToolMode ExifTool::defaultmode() {
    return qEnvironmentVariableIntValue("PIVOTEL_EXIFTOOL_ONESHOT") == 1 ? ToolMode::OneShot
                                                                         : ToolMode::StayOpen;
}

ToolResult ExifTool::run(const QStringList& arguments) {
    if (mode_ == ToolMode::OneShot || !std::all_of(arguments.begin(), arguments.end(), StayOpenTool::carries))
        return runandread(toolfile_, arguments, timeoutms_);
    if (!stayopen_)
        stayopen_ = std::make_unique<StayOpenTool>(toolfile_);
    return stayopen_->command(arguments, timeoutms_);
}

qint64 ExifTool::processid() const {
    return stayopen_ ? stayopen_->processid() : 0;
}

} // namespace pivotel

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
    return collect(send(arguments));
}

ExifTool::Sent ExifTool::send(const QStringList& arguments) {
    if (mode_ == ToolMode::OneShot || !std::all_of(arguments.begin(), arguments.end(), StayOpenTool::carries))
        return {0, arguments};
    if (!stayopen_)
        stayopen_ = std::make_unique<StayOpenTool>(toolfile_);
    return {stayopen_->send(arguments, timeoutms_), {}};
}

ToolResult ExifTool::collect(const Sent& sent) {
    if (!sent.arguments.isEmpty())
        return runandread(toolfile_, sent.arguments, timeoutms_);
    return stayopen_ ? stayopen_->collect(sent.ticket) : ToolResult{};
}

void ExifTool::preload(const QStringList& arguments) {
    if (mode_ == ToolMode::OneShot || !std::all_of(arguments.begin(), arguments.end(), StayOpenTool::carries))
        return;
    if (stayopen_ && preloadedin_ != 0 && preloadedin_ == stayopen_->processid())
        return;
    send(arguments);
    preloadedin_ = processid();
}

qint64 ExifTool::processid() const {
    return stayopen_ ? stayopen_->processid() : 0;
}

} // namespace pivotel

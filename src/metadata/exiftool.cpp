#include "metadata/exiftool.h"

#include <QFileInfo>

namespace pivotel {

ExifTool::ExifTool(QString toolfile) : toolfile_(std::move(toolfile)) {
}

bool ExifTool::exists() const {
    return QFileInfo::exists(toolfile_);
}

ToolResult ExifTool::run(const QStringList& arguments) {
    return runandread(toolfile_, arguments, timeoutms);
}

} // namespace pivotel

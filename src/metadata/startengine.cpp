#include "metadata/startengine.h"

#include "metadata/toolrunner.h"

#include <QFileInfo>

namespace pivotel {

bool startengine(const QString& tool) {
    if (!QFileInfo::exists(tool))
        return false;
    return launchonly(tool, {QStringLiteral("-ver")});
}

} // namespace pivotel

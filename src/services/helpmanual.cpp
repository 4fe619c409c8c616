#include "services/helpmanual.h"

#include "services/desktop.h"

#include <QFileInfo>

namespace pivotel {

QString helpmanualfile(const QString& resources) {
    return resources + QStringLiteral("/pivotel.pdf");
}

void openhelpmanual(Desktop& desktop, const QString& resources) {
    const QString manual = helpmanualfile(resources);
    if (QFileInfo(manual).isFile())
        desktop.openurl(QUrl::fromLocalFile(manual));
}

} // namespace pivotel

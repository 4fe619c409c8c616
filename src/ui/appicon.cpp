#include "ui/appicon.h"

namespace pivotel {

QIcon appicon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512})
        icon.addFile(QStringLiteral(":/icons/%1x%1/apps/com.zenthori.pivotel.png").arg(size),
                     QSize(size, size));
    return icon;
}

} // namespace pivotel

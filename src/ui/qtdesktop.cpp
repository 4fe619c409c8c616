#include "ui/qtdesktop.h"

#include <QDesktopServices>

namespace pivotel {

void QtDesktop::openurl(const QUrl& url) {
    QDesktopServices::openUrl(url);
}

} // namespace pivotel

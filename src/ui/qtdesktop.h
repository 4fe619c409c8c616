#pragma once

#include "services/desktop.h"

namespace pivotel {

// The desktop's browser and viewers, through QDesktopServices.
class QtDesktop : public Desktop {
  public:
    void openurl(const QUrl& url) override;
};

} // namespace pivotel

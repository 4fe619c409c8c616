#pragma once

#include <QUrl>

namespace pivotel {

// The desktop's handlers for addresses and files: the browser for a web address, the default
// viewer for a file. The program hands over and doesn't wait.
class Desktop {
  public:
    virtual ~Desktop() = default;
    virtual void openurl(const QUrl& url) = 0;
};

} // namespace pivotel

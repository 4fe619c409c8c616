#pragma once

#include "support/status.h"
#include "support/uniquefd.h"

#include <QString>

namespace pivotel {

// An advisory lock on a photo, which every Pivotel run takes before it turns one, so that two
// runs at once (two windows, a window and pivotel-cli, of any user) never turn a photo together.
// A run that waited finds the photo as the other left it: the lock is always on the file at the
// photo's path when it is granted, never on one a turn has replaced meanwhile.
class PhotoLock {
  public:
    // Waits for the photo's lock; fails when the photo can't be opened.
    [[nodiscard]] static Result<PhotoLock> take(const QString& path);

  private:
    explicit PhotoLock(UniqueFd fd) : fd_(std::move(fd)) {}
    UniqueFd fd_; // the lock goes with it
};

} // namespace pivotel

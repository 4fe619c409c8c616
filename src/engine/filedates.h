#pragma once

#include "support/status.h"

#include <QString>
#include <ctime>

namespace pivotel {

// The dates of a photo's file that "Preserve File Dates" keeps: `modifieddate` and the access
// time. Linux has no call that sets a file's creation (birth) time, so a replaced photo's
// creation time is always the time of its replacement there.
struct FileDates {
    timespec accessed{};
    timespec modified{};
};

Result<FileDates> readfiledates(const QString& path);

// Sets the dates on the file now at `path`; run after the last writer of the photo.
Status restorefiledates(const QString& path, const FileDates& dates);

} // namespace pivotel

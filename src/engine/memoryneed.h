#pragma once

#include "engine/runoptions.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

// The most memory one photo's turn holds at once, worked out from its header before the turn
// begins: a lossless turn holds the photo's coefficient arrays twice (read and turned), a re-encoding its
// decoded pixels and the encoder's coefficient arrays, and each the file's bytes a few times over. A run
// starts a photo only while the needs of the photos in work fit its memory budget. Fails when the file's
// header can't be read.
[[nodiscard]] Result<qint64> memoryneed(const QString& path, const RunOptions& options);

// The budget a run with `options` keeps to: the one asked for, else half the physical memory.
[[nodiscard]] qint64 memorybudget(const RunOptions& options);

} // namespace pivotel

#pragma once

#include "engine/oddsizes.h"
#include "engine/rotation.h"
#include "jpeg/transform.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

// The lossless operation that carries out an action.
[[nodiscard]] JpegTransform transformfor(Action action);

// Turns the JPEG at `source` by rearranging its coded data and writes the result to `target`:
// progressive, every marker of the source copied. A photo whose size is not whole blocks where
// the turn needs them is trimmed, re-encoded at its own quality or kept with an unturned edge,
// as `oddsizes` says. Answers the new size and the notes for the report: what the edge policy
// did, a flaw in the data read past. "As Is" only rewrites the photo progressive. The scans are
// coded on up to `threads` threads; the bytes written are the same for any number.
// With `handon` the new content of a losslessly turned photo isn't written but handed on in the
// answer's `bytes`, to be written once, when the steps after it have finished it.
[[nodiscard]] Result<Rotation> losslesstransform(const QString& source, const QString& target, Action action,
                                                 OddSizes oddsizes, int threads = 1, bool handon = false);

// The lossless step of a photo's turn: writes the turned photo to `target`, the working file of
// the photo's rewrite, with the edge policy `oddsizes`, or hands it on (see losslesstransform).
[[nodiscard]] Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target,
                                              OddSizes oddsizes, int threads = 1, bool handon = false);

} // namespace pivotel

#pragma once

#include "engine/rotation.h"
#include "jpeg/transform.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

// The lossless operation that carries out an action.
[[nodiscard]] JpegTransform transformfor(Action action);

// Turns the JPEG at `source` by rearranging its coded data and writes the result to `target`:
// progressive, every marker of the source copied, edge blocks kept (no trim). "As Is" only
// rewrites the photo progressive.
[[nodiscard]] Status losslesstransform(const QString& source, const QString& target, Action action);

// The lossless step of a photo's turn: writes the turned photo to `target`, the working file of
// the photo's rewrite.
[[nodiscard]] Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target);

} // namespace pivotel

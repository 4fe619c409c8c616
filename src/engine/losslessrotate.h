#pragma once

#include "engine/oddsizes.h"
#include "engine/rotation.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// Reads the photo's X resolution with the metadata tool ("-XResolution -s -s -s"): the number
// it prints, cut to a whole number, or 72 when it prints nothing or the tool is missing. Fails
// when the tool can't read the photo.
[[nodiscard]] Result<qint64> readresolution(ExifTool& tool, const QString& path);

// Turns the JPEG at `source` by rearranging its coded data and writes the result to `target`:
// progressive, every marker of the source copied. A photo whose size is not whole blocks where
// the turn needs them is trimmed, re-encoded at its own quality or kept with an unturned edge,
// as `oddsizes` says. Answers the notes for the report: what the edge policy did, a flaw in the
// data read past. "As Is" only rewrites the photo progressive.
[[nodiscard]] Result<QStringList> losslesstransform(const QString& source, const QString& target, Action action,
                                                    OddSizes oddsizes);

// The lossless step of a photo's turn: reads the resolution, then writes the turned photo to
// `target`, the working file of the photo's rewrite.
[[nodiscard]] Result<Rotation> losslessrotate(const QString& path, Action action, const QString& target,
                                              ExifTool& tool, OddSizes oddsizes);

} // namespace pivotel

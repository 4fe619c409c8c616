#pragma once

#include "engine/rotation.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

// The re-encoding step of a photo's turn: decodes the photo, turns its pixels as the action
// says and encodes them at `quality` into `target`, the working file of the photo's rewrite,
// with the photo's colour profile, resolution and metadata segments. CMYK and YCCK photos stay
// in their colour space with their Adobe marker. Only names with a JPEG extension are taken. A
// photo that can't be decoded fails with the reason, and nothing is written.
[[nodiscard]] Result<Rotation> normalrotatenew(const QString& path, Action action, const QString& target,
                                               int quality);

// The same turn at the photo's own quality: its colour space, sampling and quantization tables
// (turned with the picture), progressive as a lossless turn's photo is. For a photo that a
// lossless turn can't turn whole.
[[nodiscard]] Result<Rotation> reencodeatownquality(const QString& path, Action action,
                                                    const QString& target);

} // namespace pivotel

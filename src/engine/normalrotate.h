#pragma once

#include "engine/rotation.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

// The re-encoding step of a photo's turn: decodes the photo, turns its pixels as the action
// says and encodes them at `quality` into `target`, the working file of the photo's rewrite,
// with the photo's colour profile, resolution and metadata segments. Only names with a JPEG
// extension are taken. A photo that can't be decoded fails with the reason, and nothing is
// written.
[[nodiscard]] Result<Rotation> normalrotatenew(const QString& path, Action action, const QString& target,
                                               int quality);

} // namespace pivotel

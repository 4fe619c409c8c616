#pragma once

#include "photolist/action.h"

#include <QString>
#include <optional>

namespace pivotel {

// True when the file reads as a JPEG whose header gives a width and a height of at least 1.
// Reads the header only; decodes no image data.
[[nodiscard]] bool isvalid(const QString& path);

// The action the photo's EXIF orientation asks for (see actionfororientation): "As Is" for a
// photo without one, and none when the file can't be read as an image. Reads the markers only.
[[nodiscard]] std::optional<Action> getorientation(const QString& path);

} // namespace pivotel

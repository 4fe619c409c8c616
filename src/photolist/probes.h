#pragma once

#include <QString>

namespace pivotel {

// True when the file reads as a JPEG whose header gives a width and a height of at least 1.
// Reads the header only; decodes no image data.
bool isvalid(const QString& path);

// The action label from the photo's EXIF orientation: "Rotate 90º Clockwise" for 6,
// "Rotate 90º Counterclockwise" for 8, "Rotate 180º" for 3, "As Is" for any other value or
// none, and "Fail" when the file can't be read as an image. Reads the markers only.
QString getorientation(const QString& path);

} // namespace pivotel

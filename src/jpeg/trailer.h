#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QByteArrayView>

namespace pivotel {

// What follows the picture in a JPEG file: a multi-picture file's further pictures (camera
// previews, stereo pairs) or a phone's motion-photo video. Empty when the file ends with its
// picture; fails when the picture itself can't be walked to its end.
[[nodiscard]] Result<QByteArrayView> trailerof(QByteArrayView jpeg);

// Appends `trailer`, what followed the picture of `original`, to `turned`, which holds the turned
// picture alone, and corrects the turned file's MPF index so its entries point at the same
// pictures again and give the first picture's new size. Fails, changing nothing, when an entry
// points at anything but a picture of the trailer: such a file can't be carried correctly.
[[nodiscard]] Status carrytrailer(const QByteArray& original, QByteArrayView trailer, QByteArray& turned);

// Checks that every entry of a file's MPF index (if it has one) points at the start of a picture
// within the file.
[[nodiscard]] Status checkmpf(const QByteArray& jpeg);

} // namespace pivotel

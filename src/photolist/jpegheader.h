#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace pivotel {

// The bytes of a JPEG file from its start through the start-of-scan segment: every marker
// segment (EXIF, ICC, tables, frame header) and no coded image data. Fails when the file
// can't be read or isn't a JPEG stream.
Result<QByteArray> readjpegheader(const QString& path);

// The EXIF orientation (1..8) found in the APP1 "Exif" segment of a header, if there is one.
std::optional<int> exiforientation(const QByteArray& header);

// The vertical resolution in dots per inch that an EXIF block gives (YResolution in its unit),
// from the body of an APP1 "Exif" segment. None when it gives no positive value in inches or
// centimetres.
std::optional<double> exifdpi(const QByteArray& app1body);

} // namespace pivotel

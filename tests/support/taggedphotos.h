#pragma once

#include "support/testphotos.h"

#include <QMap>

namespace pivotel::test {

// A pattern photo tagged as a camera leaves it: EXIF (make, model, dates, exposure, a Canon maker
// note, GPS, rationals that the tool's text form rounds), an EXIF thumbnail (a 32×24 pattern), the
// size in EXIF and XMP, XMP, IPTC and an ICC profile, with the EXIF orientation and resolution
// given, and no JFIF segment.
void writetaggedphoto(const QString& path, int width, int height, int orientation, int dpi);
// Every tag the tool reads from a file, keyed "Group:Name" (family 1 groups, duplicates kept), with
// raw values (-n), so that a value changed in its last digit shows.
QMap<QString, QString> alltags(const QString& path);

} // namespace pivotel::test

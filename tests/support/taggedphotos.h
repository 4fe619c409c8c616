#pragma once

#include "support/testphotos.h"

#include <QMap>

namespace pivotel::test {

// A pattern photo tagged as a camera leaves it: EXIF (make, model, dates, exposure, a Canon maker
// note, GPS), XMP, IPTC and an ICC profile, with the EXIF orientation and resolution given, and
// no JFIF segment.
void writetaggedphoto(const QString& path, int width, int height, int orientation, int dpi);
// Every tag the tool reads from a file, keyed "Group:Name" (family 1 groups, duplicates kept).
QMap<QString, QString> alltags(const QString& path);

} // namespace pivotel::test

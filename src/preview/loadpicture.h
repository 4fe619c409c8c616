#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QImage>
#include <QString>
#include <vector>

namespace pivotel {

// One APPn or COM segment of a JPEG file: its marker code and its body.
struct MarkerSegment {
    int marker = 0;
    QByteArray body;
};

// A whole photo in memory, with what a re-encoding has to carry into the new file.
struct DecodedPicture {
    // The pixels as the file stores them, EXIF orientation not applied: Format_RGBX8888, or
    // Format_Grayscale8 for a grey photo, which so stays grey (and keeps a grey profile valid).
    QImage image;
    QByteArray colorprofile; // the ICC profile, empty when the photo has none
    qint64 jpgdpi = 72;      // the resolution in dots per inch
    // Every APPn and COM segment except the colour profile's (EXIF, XMP, IPTC, comments...), in
    // the file's order.
    std::vector<MarkerSegment> segments;
};

// Decodes the whole photo with its colour profile and resolution, for a re-encoding run.
// Takes the names of extensions::loadpicture() only. The resolution is the EXIF block's vertical
// one, else the JFIF density's, else 72. A damaged photo (one that decodes only with warnings),
// a CMYK photo and any other failure give no picture but a reason.
Result<DecodedPicture> loadpicture(const QString& path);

} // namespace pivotel

#pragma once

#include "jpeg/transform.h"
#include "support/status.h"

#include <QByteArray>
#include <QSize>
#include <QString>
#include <optional>

namespace pivotel {

// A resolution as EXIF keeps it: two values and their unit (1 none, which makes them an aspect
// ratio; 2 inches; 3 centimetres).
struct ExifResolution {
    double x = 72;
    double y = 72;
    int unit = 2;
};

// What setting a turned photo's EXIF block upright did, and what is left for the metadata
// tool, which alone can add entries to the block or reach the XMP packet.
struct UprightPatch {
    QSize size;                  // the picture's size, from its frame header
    bool orientationset = false; // IFD0 had an Orientation, which now reads 1
    bool dimensionsset = true;   // false when the Exif IFD's size entries can't hold the size
    bool hasxmp = false;         // an XMP packet that may give an orientation or size, for the tool to set
    // The resolution the EXIF block lacks (missing, zero or unreadable), to be added: the JFIF
    // density's when it has one, else 72 dpi.
    std::optional<ExifResolution> missingresolution;
    // What became of the EXIF thumbnail when it couldn't simply be turned ("thumbnail made
    // anew"), for the report; empty otherwise.
    QString thumbnailnote;

    // Whether anything is left for the metadata tool (or the XMP library) to write.
    bool needswriters() const { return hasxmp || !dimensionsset || !orientationset || missingresolution; }
};

// Sets the metadata of a turned photo upright in `jpeg`, its whole new file, changing nothing
// else: IFD0's Orientation becomes 1, the Exif IFD's pixel dimensions the picture's size, the
// IFD1 thumbnail is turned by `thumbnailturn`, and a JFIF density is made to agree with the EXIF
// resolution, in the same unit. The EXIF segment may grow to its largest, 64 KB, for the turned
// thumbnail; one that can't be turned (not a JPEG, damaged) or still doesn't fit is made anew
// from the turned photo at its size. Every other value of the EXIF block stays as it was.
[[nodiscard]] Result<UprightPatch> setupright(QByteArray& jpeg, JpegTransform thumbnailturn);

} // namespace pivotel

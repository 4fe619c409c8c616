#pragma once

#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// updatedpinonstore: the last metadata step of a photo's turn. The pixels stand upright now,
// while the EXIF block copied back still carries the old orientation; this sets it to 1 and
// both resolutions to `dpi`, in place. Afterwards the photo's EXIF Orientation reads 1 and both
// resolutions read `dpi`, or the step fails: a photo whose tag still holds the old orientation
// would show turned twice.
//
// The tool writes the three tags when it is there (and the same tags where XMP or JFIF carry
// them), changing nothing else. The XMP library does carry TIFF properties into the photo's
// EXIF block, but it rewrites the block from its own copy on the way: GPS coordinates come back
// rounded to a hundredth of a minute and a date whose seconds are zero loses them. So the
// library is the way only when the tool is missing. Then `dpi` was never read from this photo
// (the tool reads it), so the photo keeps its own resolution where it has one.
Status updatedpinonstore(ExifTool& tool, const QString& path, qint64 dpi);

// Which resolution the library's way writes.
enum class Resolution {
    Given,     // `dpi`, always
    KeepKnown, // the photo's own where it has one, else `dpi`
};

// The library's way: open for update, TIFF "Orientation" "1", "XResolution" and "YResolution"
// the decimal text of `dpi`, written with a safe update. Fails when the library refuses the file.
Status xmpupright(const QString& path, qint64 dpi, Resolution resolution = Resolution::Given);

} // namespace pivotel

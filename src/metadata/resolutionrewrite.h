#pragma once

#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// updatedpinonstore: the last metadata step of a photo's turn. The pixels stand upright now,
// while the EXIF block copied back still carries the old orientation; this sets it to 1 and
// both resolutions to `dpi`, in place.
//
// The XMP library does it first: it carries the TIFF properties into the photo's own EXIF block.
// The tool checks the result and, when the library refused the file or its EXIF block doesn't
// agree, writes the three tags itself. Afterwards the EXIF Orientation reads 1 and both
// resolutions read `dpi`, or the step fails: a photo whose tag still holds the old orientation
// would show turned twice. Without the tool, the library's word is taken.
Status updatedpinonstore(ExifTool& tool, const QString& path, qint64 dpi);

// The library's part alone: TIFF "Orientation" "1", "XResolution" and "YResolution" the
// decimal text of `dpi`, written with a safe update. Fails when the library refuses the file.
Status xmpupright(const QString& path, qint64 dpi);

} // namespace pivotel

#pragma once

#include "jpeg/exifpatch.h"
#include "support/status.h"

#include <QString>
#include <QStringList>

namespace pivotel {

class ExifTool;

// updatedpinonstore: the last metadata step of a photo's turn, on the working file whose EXIF
// block setupright() already set upright in place. What that couldn't do is left to the tool:
// an XMP packet's orientation and sizes (updated only where the packet has them), and an EXIF
// Orientation or resolution the block lacks (added: Orientation 1, the resolution `patch`
// names). A photo that needs none of it never reaches the tool. Every value the photo had stays
// as it was: the tool writes raw values (-n) and only these tags.
//
// A tool that refuses the file (some EXIF blocks it won't rewrite) hands over to the XMP
// library for the packet's orientation; the photo is turned when its orientation can be made to
// read 1 everywhere it is kept, and the step fails otherwise: a photo whose tag still holds the
// old orientation would show turned twice. What was left undone goes in `notes`.
//
// The XMP library carries TIFF properties into the EXIF block by rewriting the block from its
// own copy, which rounds GPS coordinates and dates; so it is the way only when the tool is
// missing or refuses.
[[nodiscard]] Status updatedpinonstore(ExifTool& tool, const QString& path, const UprightPatch& patch,
                                       QStringList& notes);

// Has the tool load what updatedpinonstore's writing needs while the photo is turned, once
// for each tool process, so that a run's first write doesn't wait for it. Writes nothing: the
// condition "-if 0" lets no file through.
void preparewriters(ExifTool& tool, const QString& photo);

// The library's way: open for update, TIFF "Orientation" "1", and "XResolution" and
// "YResolution" the decimal text of `dpi` where the photo has none of its own, written with a
// safe update. Fails when the library refuses the file.
[[nodiscard]] Status xmpupright(const QString& path, qint64 dpi);

} // namespace pivotel

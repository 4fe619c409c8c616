#pragma once

#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// Reads the photo's X resolution with the metadata tool ("-XResolution -s -s -s"): the number
// it prints, cut to a whole number, or 72 when it prints nothing. Left unchanged when the tool
// is missing; fails, leaving it unchanged, when the tool can't read the photo.
Status readresolution(ExifTool& tool, const QString& path, qint64& jpgdpi);

// Turns the JPEG at `source` by rearranging its coded data (no decoding, no loss) and writes
// the result to `target`: progressive, every marker of the source copied, edge blocks kept (no
// trim). The label picks one operation; any other label only rewrites the photo progressive.
// Damaged data is refused, so a photo is never rewritten with garbage.
Status losslesstransform(const QString& source, const QString& target, const QString& label);

// The lossless step of a photo's turn: reads the resolution into `jpgdpi`, then writes the
// turned photo to `target`, the working file of the photo's rewrite.
Status losslessrotate(const QString& path, const QString& label, const QString& target, ExifTool& tool,
                      qint64& jpgdpi);

} // namespace pivotel

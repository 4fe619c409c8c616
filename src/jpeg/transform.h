#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QString>

namespace pivotel {

// The lossless operations on coded JPEG data.
enum class JpegTransform { None, Rotate90, Rotate180, Rotate270, FlipHorizontal };

// What to do with the partial blocks at the right and bottom edges, which a lossless turn can't
// move to the top or left edge: keep them where they stand (the picture keeps its size), or
// drop them.
enum class EdgePolicy { Keep, Trim };

// Rearranges the coded data of the JPEG in `data` (no decoding, no loss) and writes the result
// to `target`: progressive, every marker of the source copied. Damaged data is refused, so a
// photo is never rewritten with garbage.
[[nodiscard]] Status transformjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                                   const QString& target);

} // namespace pivotel

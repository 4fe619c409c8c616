#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QString>

namespace pivotel {

// The lossless operations on coded JPEG data, as jpegtran names them.
enum class JpegTransform {
    None,
    Rotate90,
    Rotate180,
    Rotate270,
    FlipHorizontal,
    FlipVertical,
    Transpose,
    Transverse
};

// Whether the operation makes the picture's rows its columns.
[[nodiscard]] constexpr bool transposes(JpegTransform op) {
    return op == JpegTransform::Rotate90 || op == JpegTransform::Rotate270 ||
           op == JpegTransform::Transpose || op == JpegTransform::Transverse;
}

// What to do with the partial blocks at the right and bottom edges, which a lossless turn can't
// move to the top or left edge: none may be there (the transform is refused otherwise), keep
// them where they stand (the picture keeps its size, the edge strip stays unturned), or drop
// them.
enum class EdgePolicy { Perfect, Keep, Trim };

// The pixels at the right and bottom edges that lie in partial blocks (iMCUs) which a transform
// would have to move to the top or left edge. Both 0: the transform is perfect.
struct PartialEdges {
    int columns = 0; // at the right edge
    int rows = 0;    // at the bottom edge

    bool perfect() const { return columns == 0 && rows == 0; }
};

// Reads from the header of the JPEG in `data` which partial blocks `op` can't place.
[[nodiscard]] Result<PartialEdges> partialedges(const QByteArray& data, JpegTransform op);

// Rearranges the coded data of the JPEG in `data` (no decoding, no loss) and writes the result
// to `target`: progressive, every marker of the source copied. Data that libjpeg reads only with
// a warning (stray bytes before a marker, data that ends early) is turned as libjpeg reads it,
// as every viewer shows it, and the answer is that warning; sound data answers an empty text.
// Data that libjpeg can't read is refused, so a photo is never rewritten with garbage.
// Up to `threads` threads code the progressive scans; the bytes written don't depend on it.
[[nodiscard]] Result<QString> transformjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                                            const QString& target, int threads = 1);

// The same, answering the new content rather than writing it.
struct TurnedJpeg {
    QByteArray bytes;
    QString warning; // libjpeg's, about flawed data it read past; empty for sound data
};
[[nodiscard]] Result<TurnedJpeg> turnjpeg(const QByteArray& data, JpegTransform op, EdgePolicy edges,
                                          int threads = 1);

} // namespace pivotel

#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>
#include <vector>

namespace pivotel {

// The bytes of a JPEG file from its start through the start-of-scan segment: every marker
// segment (EXIF, ICC, tables, frame header) and no coded image data; stray bytes between two
// segments are left out. Fails when the file can't be read or isn't a JPEG stream.
[[nodiscard]] Result<QByteArray> readjpegheader(const QString& path);

// One marker segment of a header: its marker and its bytes, from the 0xFF through the body.
struct HeaderSegment {
    unsigned char marker = 0;
    QByteArrayView bytes;

    // What follows the marker and the length (nothing for a marker without one).
    QByteArrayView body() const { return bytes.size() > 4 ? bytes.sliced(4) : QByteArrayView(); }
};

// The segments of a header that readjpegheader gave, in order, through the start of scan. The
// views point into `header`.
[[nodiscard]] std::vector<HeaderSegment> headersegments(const QByteArray& header);

// Where the entropy-coded data of a scan that starts at `from` ends: the offset of the first
// marker in it that isn't a restart marker (an 0xFF not followed by a stuffed zero), or the
// data's end.
[[nodiscard]] qsizetype codeddataend(QByteArrayView data, qsizetype from);

// Where the picture of a whole JPEG file ends: the offset just past its end-of-image marker,
// found by walking every segment and skipping each scan's entropy-coded data. Whatever lies
// beyond it (a camera's further pictures, a phone's motion-photo video) is not the picture's.
// Fails when the data ends before the picture does.
[[nodiscard]] Result<qsizetype> pictureend(QByteArrayView data);

// Whether an APP1 segment's body is an EXIF block whose IFD0 lies whole within it. A photo may
// have several EXIF blocks, a damaged one first: like the metadata tool, every reader here
// takes the first that is whole, and the others are left as they are.
[[nodiscard]] bool iswholeexif(QByteArrayView app1body);

// The EXIF orientation (1..8) found in the EXIF block of a header, if there is one.
[[nodiscard]] std::optional<int> exiforientation(const QByteArray& header);

// The vertical resolution in dots per inch that an EXIF block gives (YResolution in its unit),
// from the body of an APP1 "Exif" segment. None when it gives no positive value in inches or
// centimetres.
[[nodiscard]] std::optional<double> exifdpi(const QByteArray& app1body);

} // namespace pivotel

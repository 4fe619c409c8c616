#pragma once

#include "jpeg/probe.h"
#include "support/status.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QSize>

namespace pivotel {

// What a new photo must be before it may take an old one's place.
struct ExpectedPicture {
    QSize size;
    JpegColorSpace colorspace = JpegColorSpace::YCbCr;
    QByteArrayView trailer; // what must follow the picture, byte for byte
};

// Checks a new photo in full before it replaces the old: its segments walk to the picture's
// end, every scan entropy-decodes to its last bit without error or warning (by our own scan
// decoder; libjpeg's 1/8 decode for the kinds of JPEG it leaves over), the picture has the
// expected size and colour space, the trailer follows it unchanged and an MPF index points at
// its pictures. The reason names what failed.
// Its scans decode on up to `threads` threads.
[[nodiscard]] Status checkjpeg(const QByteArray& data, const ExpectedPicture& expected, int threads = 1);

} // namespace pivotel

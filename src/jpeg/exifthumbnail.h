#pragma once

#include "jpeg/transform.h"
#include "support/status.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QSize>
#include <optional>

namespace pivotel {

// An EXIF thumbnail turned losslessly by `op` and kept baseline, as viewers of EXIF thumbnails
// expect; the few edge pixels a turn can't move are trimmed, which no one sees at that size.
// Fails for a thumbnail that isn't a JPEG, or one that doesn't read without a flaw.
[[nodiscard]] Result<QByteArray> turnthumbnail(QByteArrayView thumbnail, JpegTransform op);

// The size a JPEG thumbnail gives in its header, when it reads as one.
[[nodiscard]] std::optional<QSize> thumbnailsize(QByteArrayView thumbnail);

// A new thumbnail of `size` pixels made from the photo `jpeg`, the whole picture fitted in it
// with black bars where the aspects differ, as cameras make theirs: a baseline JPEG with no
// segments of its own, at the best quality that keeps it within `room` bytes. Fails when the
// photo can't be decoded or no quality is small enough.
[[nodiscard]] Result<QByteArray> makethumbnail(const QByteArray& jpeg, QSize size, qsizetype room);

} // namespace pivotel

#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace pivotel {

// The size of a list thumbnail for a picture of `picture`: the longer side 160 (a square is
// 160 by 160), the other in proportion, its ratio rounded to single precision and the quotient
// truncated; never under 1. A small picture is enlarged to it. Empty for an empty picture.
QSize thumbnailsize(QSize picture);

// The photo at `path` as a list thumbnail of thumbnailsize(): JPEG data decoded at 1/8 of its
// size inside the decoder, then scaled smoothly. A null image when there is nothing to show: the
// file is gone, unreadable or not a JPEG, or its name isn't one the preview decodes (".jpe").
QImage loadpicturefastfast(const QString& path);

} // namespace pivotel

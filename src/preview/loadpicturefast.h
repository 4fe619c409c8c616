#pragma once

#include "jpeg/decode.h"

#include <QImage>
#include <QSize>
#include <QString>
#include <functional>

namespace pivotel {

// Decodes a photo's pixels for the preview, fast, and nothing else: a null image when there is
// no picture to be had. Names of extensions::loadpicturefast() go to the JPEG decoder. Names of
// extensions::heic() go by their content: JPEG data to the JPEG decoder, anything else to Qt's
// image plugins, which decode HEIF only where such a plugin is installed. The EXIF orientation
// is not applied. A photo with damaged data gives what could be decoded of it.
QImage loadpicturefast(const QString& path);

// As loadpicturefast, for a picture that is to be shown at `shownsize(the photo's size)`: JPEG
// data is decoded at the smallest of the decoder's reductions (1/2, 1/4, 1/8) that still covers
// that size both ways, which for a small viewer is several times faster than the whole photo.
// Other data is decoded whole.
ReducedPicture loadpicturefast(const QString& path, const std::function<QSize(QSize)>& shownsize);

} // namespace pivotel

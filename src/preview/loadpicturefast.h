#pragma once

#include <QImage>
#include <QString>

namespace pivotel {

// Decodes a photo's pixels for the preview, fast, and nothing else: a null image when there is
// no picture to be had. Names of extensions::loadpicturefast() go to the JPEG decoder. Names of
// extensions::heic() go by their content: JPEG data to the JPEG decoder, anything else to Qt's
// image plugins, which decode HEIF only where such a plugin is installed. The EXIF orientation
// is not applied. A photo with damaged data gives what could be decoded of it.
QImage loadpicturefast(const QString& path);

} // namespace pivotel

#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace pivotel {

// The photo at `path` as the preview shows it in a viewer of size `bounds`: as it lies on disk
// (no EXIF orientation, no action applied), decoded as loadpicturefast decodes it, at the size
// previewfit gives, scaled smoothly. A photo much bigger than the viewer is decoded reduced
// first, which leaves the picture on screen the same size and all but the same pixels. A null
// image when there is nothing to show.
QImage previewpicture(const QString& path, QSize bounds);

} // namespace pivotel

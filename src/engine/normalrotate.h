#pragma once

#include "support/status.h"

#include <QString>

namespace pivotel {

// The re-encoding step of a photo's turn: decodes the photo (loadpicture), turns its pixels as
// the label says ("As Is" and any other label leave them as they are) and encodes them at
// `quality` into `target`, the working file of the photo's rewrite, with the photo's colour
// profile, resolution and metadata segments. `jpgdpi` gets the photo's resolution. A photo that
// can't be decoded fails with the reason, and nothing is written.
Status normalrotatenew(const QString& path, const QString& label, const QString& target, int quality,
                       qint64& jpgdpi);

} // namespace pivotel

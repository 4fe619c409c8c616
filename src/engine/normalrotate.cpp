#include "engine/normalrotate.h"

#include "engine/jpegencoder.h"
#include "engine/turnedpicture.h"
#include "photolist/labels.h"
#include "preview/loadpicture.h"

namespace pivotel {

Status normalrotatenew(const QString& path, const QString& label, const QString& target, int quality,
                       qint64& jpgdpi) {
    auto decoded = loadpicture(path);
    if (!decoded)
        return decoded.status();
    DecodedPicture& picture = decoded.value();
    jpgdpi = picture.jpgdpi;

    EncodeSettings settings;
    settings.quality = quality;
    settings.dpi = picture.jpgdpi;
    settings.colorprofile = std::move(picture.colorprofile);
    settings.segments = std::move(picture.segments);
    const TurnedPicture turned(std::move(picture.image), actionforlabel(label));
    return encodejpeg(turned, settings, target);
}

} // namespace pivotel

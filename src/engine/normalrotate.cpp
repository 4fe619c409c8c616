#include "engine/normalrotate.h"

#include "engine/turnedpicture.h"
#include "jpeg/decode.h"
#include "jpeg/encode.h"
#include "photolist/extensions.h"

namespace pivotel {

Result<Rotation> normalrotatenew(const QString& path, Action action, const QString& target, int quality) {
    if (!hasextension(path, extensions::loadpicture()))
        return Status::failure(QStringLiteral("isn't named as a JPEG file (.jpg, .jpeg, .jfif, .jpe)"));
    auto decoded = decodepicture(path);
    if (!decoded)
        return decoded.status();
    DecodedPicture& picture = decoded.value();

    EncodeSettings settings;
    settings.quality = quality;
    settings.dpi = picture.jpgdpi;
    settings.colorprofile = std::move(picture.colorprofile);
    settings.segments = std::move(picture.segments);
    const TurnedPicture turned(std::move(picture.image), action);
    if (const Status encoded = encodejpeg(turned, settings, target); !encoded)
        return encoded;
    return Rotation{QSize(turned.width(), turned.height()), {}};
}

} // namespace pivotel

#include "engine/pixelsengine.h"

#include "engine/turnedpicture.h"
#include "jpeg/decode.h"
#include "jpeg/encode.h"
#include "photolist/extensions.h"

#include <functional>

namespace pivotel {

namespace {

bool isinks(JpegColorSpace space) {
    return space == JpegColorSpace::Cmyk || space == JpegColorSpace::Ycck;
}

// Decodes, turns and encodes; `tune` adds to the settings what the kind of re-encoding asks.
Result<Rotation> reencode(const QString& path, Action action, const QString& target,
                          const std::function<void(EncodeSettings&, DecodedPicture&)>& tune) {
    auto decoded = decodepicture(path);
    if (!decoded)
        return decoded.status();
    DecodedPicture& picture = decoded.value();

    EncodeSettings settings;
    settings.dpi = picture.jpgdpi;
    settings.colorprofile = std::move(picture.colorprofile);
    settings.segments = std::move(picture.segments);
    // Inks are only moved: converted to RGB and back they would not be the photo's colours.
    if (isinks(picture.colorspace))
        settings.colorspace = picture.colorspace;
    tune(settings, picture);
    const TurnedPicture turned(std::move(picture.image), action);
    if (const Status encoded = encodejpeg(turned, settings, target); !encoded)
        return encoded;
    Rotation rotation;
    rotation.size = QSize(turned.width(), turned.height());
    if (!picture.warning.isEmpty())
        rotation.notes << flawnote(picture.warning);
    return rotation;
}

} // namespace

Result<Rotation> normalrotatenewhere(const QString& path, Action action, const QString& target, int quality) {
    if (!hasextension(path, extensions::loadpicture()))
        return Status::failure(QStringLiteral("isn't named as a JPEG file (.jpg, .jpeg, .jfif, .jpe)"));
    return reencode(path, action, target,
                    [quality](EncodeSettings& settings, DecodedPicture&) { settings.quality = quality; });
}

Result<Rotation> reencodeatownqualityhere(const QString& path, Action action, const QString& target) {
    const bool swapped = swapssides(action);
    return reencode(path, action, target, [swapped](EncodeSettings& settings, DecodedPicture& picture) {
        settings.colorspace = picture.colorspace;
        settings.coding = swapped ? picture.coding.transposed() : picture.coding;
        settings.progressive = true;
    });
}

} // namespace pivotel

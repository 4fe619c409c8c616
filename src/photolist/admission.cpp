#include "photolist/admission.h"

#include "photolist/probes.h"

namespace pivotel {

Admission judgephoto(const QString& path, const AdmissionOptions& options) {
    if (!isvalid(path))
        return {Verdict::NotJpeg, Action::AsIs, QStringLiteral("not a readable JPEG photo")};
    const std::optional<Action> orientation = getorientation(path);
    // A photo whose orientation can't be read stays off the list even when EXIF isn't used.
    if (!orientation)
        return {Verdict::Unreadable, Action::AsIs, QStringLiteral("its markers can't be read")};
    if (!options.useexiforientation)
        return {Verdict::Admitted, Action::AsIs, QString()};
    if (options.onlyloadwhenneeded && *orientation == Action::AsIs)
        return {Verdict::NotNeeded, Action::AsIs, QStringLiteral("needs no turn")};
    return {Verdict::Admitted, *orientation, QString()};
}

} // namespace pivotel

#include "photolist/admission.h"

#include "photolist/labels.h"
#include "photolist/photolistmodel.h"
#include "photolist/probes.h"

namespace pivotel {

Admission judgephoto(const QString& path, const AdmissionOptions& options) {
    if (!isvalid(path))
        return {Verdict::NotJpeg, QString(), QStringLiteral("not a readable JPEG photo")};
    const QString orientation = getorientation(path);
    // A photo whose orientation can't be read stays off the list even when EXIF isn't used.
    if (orientation == label::fail)
        return {Verdict::Unreadable, orientation, QStringLiteral("its markers can't be read")};
    if (!options.useexiforientation)
        return {Verdict::Admitted, label::asis, QString()};
    if (options.onlyloadwhenneeded && orientation == label::asis)
        return {Verdict::NotNeeded, orientation, QStringLiteral("needs no turn")};
    return {Verdict::Admitted, orientation, QString()};
}

Admission admitphoto(PhotoListModel& list, const QString& name, const QString& path,
                     const AdmissionOptions& options) {
    Admission admission = judgephoto(path, options);
    if (admission.verdict == Verdict::Admitted)
        list.appendrow(name, admission.label, path);
    return admission;
}

} // namespace pivotel

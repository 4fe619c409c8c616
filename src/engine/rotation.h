#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace pivotel {

// What a rotator learnt of the photo it turned, for the steps that follow it.
struct Rotation {
    qint64 jpgdpi = 72; // the resolution the photo keeps, in dots per inch
    // What the turn did beyond turning that the photo's owner should hear of ("trimmed 8
    // pixels"); the report names it beside the photo.
    QStringList notes;
};

// The note for a photo whose flawed data (libjpeg's `warning`) was turned as it reads.
[[nodiscard]] QString flawnote(const QString& warning);

} // namespace pivotel

#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

namespace pivotel {

// What a rotator made of the photo it turned, for the steps that follow it.
struct Rotation {
    QSize size; // the turned picture's, which the new file is checked against
    // What the turn did beyond turning that the photo's owner should hear of ("trimmed 8
    // pixels"); the report names it beside the photo.
    QStringList notes;
};

// The note for a photo whose flawed data (libjpeg's `warning`) was turned as it reads.
[[nodiscard]] QString flawnote(const QString& warning);

} // namespace pivotel

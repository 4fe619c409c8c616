#pragma once

#include <QByteArray>
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
    // The photo as the rotator read it, and the new content where the rotator handed it on
    // rather than writing it: the steps after it read the files for what is empty here.
    QByteArray source;
    QByteArray bytes;
};

// The note for a photo whose flawed data (libjpeg's `warning`) was turned as it reads.
[[nodiscard]] QString flawnote(const QString& warning);

} // namespace pivotel

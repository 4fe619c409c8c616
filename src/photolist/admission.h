#pragma once

#include "photolist/action.h"

#include <QString>

namespace pivotel {

// The two intake options, read afresh for every file.
struct AdmissionOptions {
    bool useexiforientation = true;  // "Use EXIF (Camera Settings) Orientation"
    bool onlyloadwhenneeded = false; // "Only Load Photos That Needs to be Rotated"
};

enum class Verdict {
    Admitted,   // gets a row with `label`
    NotJpeg,    // isvalid refused it
    Unreadable, // the orientation probe said "Fail"
    NotNeeded,  // needs no turn and only photos that need one are loaded
};

struct Admission {
    Verdict verdict;
    Action action = Action::AsIs; // the action the row gets
    QString reason;               // why a file was refused, for front ends that tell
};

// Judges a file that has passed its intake path's extension test.
[[nodiscard]] Admission judgephoto(const QString& path, const AdmissionOptions& options);

} // namespace pivotel

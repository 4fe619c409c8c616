#pragma once

#include <QString>

namespace pivotel {

// What the picture says about its upright.
struct LookVerdict {
    // Clockwise quarter turns (1 to 3) that bring the picture upright; 0 when it looks upright
    // already or gives no clear cue.
    int turns = 0;
    // The cue behind a suggestion, for a person: "3 faces upright after a quarter turn". Empty
    // when there is no suggestion.
    QString cue;
    // "faces" or "text" for a suggestion, else empty.
    QString cuekind;
    // The photo has an EXIF orientation that decides its upright: it was not looked at.
    bool hasorientation = false;
    [[nodiscard]] bool suggests() const { return turns != 0; }
};

} // namespace pivotel

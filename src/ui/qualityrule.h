#pragma once

#include <QString>
#include <optional>

namespace pivotel {

// The JPEG quality of a re-encoding run lies between these.
inline constexpr int minimumquality = 10;
inline constexpr int maximumquality = 100;
// What a field that holds no number stands for.
inline constexpr int fallbackquality = 70;

// The quality a field's text stands for when the field is left or a run starts: the number cut
// to a whole one and held between 10 and 100, or 70 when the text is no number.
int clampedquality(const QString& text);

// While the user types: the whole number the slider follows, when the text is a number strictly
// between 10 and 100 (typing "10" or "100" moves nothing until the field is left).
std::optional<int> typedquality(const QString& text);

} // namespace pivotel

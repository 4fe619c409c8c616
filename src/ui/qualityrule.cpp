#include "ui/qualityrule.h"

#include "support/xnumber.h"

#include <cmath>

namespace pivotel {

int clampedquality(const QString& text) {
    if (!isnumeric(text))
        return fallbackquality;
    const double value = std::trunc(leadingvalue(text));
    if (value >= maximumquality + 1)
        return maximumquality;
    if (value <= minimumquality - 1)
        return minimumquality;
    return static_cast<int>(value);
}

std::optional<int> typedquality(const QString& text) {
    if (!isnumeric(text))
        return std::nullopt;
    const double value = leadingvalue(text);
    if (value > minimumquality && value < maximumquality)
        return static_cast<int>(value);
    return std::nullopt;
}

} // namespace pivotel

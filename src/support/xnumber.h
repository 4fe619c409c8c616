#pragma once

#include <QString>

namespace pivotel {

// Numeric text as the option fields and the metadata tool's output are read.

// True when the whole text, blanks around it aside, is one number ("55.9", "-3", "1e2").
// An empty text is not numeric.
bool isnumeric(const QString& text);

// The number at the start of the text, 0 when there is none ("300\n" gives 300, "72.5dpi" 72.5).
double leadingvalue(const QString& text);

} // namespace pivotel

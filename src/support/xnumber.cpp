#include "support/xnumber.h"

#include <QRegularExpression>

namespace pivotel {

namespace {
const QRegularExpression& numberpattern() {
    static const QRegularExpression pattern(QStringLiteral(R"(^\s*([+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?))"));
    return pattern;
}
} // namespace

bool isnumeric(const QString& text) {
    const auto match = numberpattern().match(text);
    return match.hasMatch() && text.mid(match.capturedEnd()).trimmed().isEmpty();
}

double leadingvalue(const QString& text) {
    const auto match = numberpattern().match(text);
    return match.hasMatch() ? match.captured(1).toDouble() : 0.0;
}

} // namespace pivotel

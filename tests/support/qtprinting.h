#pragma once

#include <QString>
#include <ostream>

// Lets test failures show Qt texts as texts.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

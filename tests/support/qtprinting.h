#pragma once

#include <QSize>
#include <QString>
#include <ostream>

// Lets test failures show Qt values readably: texts as texts, sizes as width x height.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QSize& size, std::ostream* os) {
    *os << size.width() << 'x' << size.height();
}

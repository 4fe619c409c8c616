#pragma once

#include <QIcon>
#include <QString>

namespace pivotel {

// The drawings of the toolbar's buttons, drawn in the text colour at any size.
enum class Symbol { Photo, Photos, Play, DocumentGear, Document };

// The icon of the desktop's theme by that name, or our own drawing when the theme has none.
QIcon toolbaricon(const QString& themename, Symbol fallback);

// Our own drawing alone.
QIcon symbolicon(Symbol symbol);

} // namespace pivotel

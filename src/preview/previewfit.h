#pragma once

#include <QSize>

namespace pivotel {

// The size at which the preview shows a picture of size `picture` in a viewer of size `bounds`.
// A picture too big for the viewer is shrunk, keeping its proportions, until it fits both ways;
// one that fits keeps its size: the preview never enlarges. Each ratio is rounded to single
// precision and each product truncated, so a 6000x4000 photo in 347x351 shows at 347x231.
// A very thin picture keeps at least one pixel across. An empty picture or viewer gives an
// empty size: nothing to show.
QSize previewfit(QSize picture, QSize bounds);

} // namespace pivotel

#pragma once

#include <QtGlobal>

namespace pivotel {

// What a rotator learnt of the photo it turned, for the steps that follow it.
struct Rotation {
    qint64 jpgdpi = 72; // the resolution the photo keeps, in dots per inch
};

} // namespace pivotel

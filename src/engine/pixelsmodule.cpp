// The two symbols the pixels module shows, one table for the JPEG layer and one for the engine:
// everything else in it is hidden, so that its own copies of our lower layers never stand in for
// the program's.
#include "engine/pixelsengine.h"

extern "C" __attribute__((visibility("default"))) const pivotel::PixelsJpegEntry* pivotel_pixelsjpegentry() {
    static const pivotel::PixelsJpegEntry entry{pivotel::pixelsabi, &pivotel::makethumbnailhere};
    return &entry;
}

extern "C" __attribute__((visibility("default"))) const pivotel::PixelsEngineEntry* pivotel_pixelsengineentry() {
    static const pivotel::PixelsEngineEntry entry{pivotel::pixelsabi, &pivotel::normalrotatenewhere,
                                                  &pivotel::reencodeatownqualityhere};
    return &entry;
}

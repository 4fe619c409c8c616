#pragma once

#include "jpeg/transform.h"

namespace pivotel {

// TurboJPEG's code for a lossless operation (TJXOP_...), for the code of this folder that calls
// tjTransform.
[[nodiscard]] int transformop(JpegTransform op);

} // namespace pivotel

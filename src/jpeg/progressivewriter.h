#pragma once

#include "jpeg/coefficientplanes.h"
#include "jpeg/scancoder.h"
#include "support/status.h"

#include <QByteArray>
#include <vector>

namespace pivotel {

// The scans libjpeg's jpeg_simple_progression sets for a frame of `components` components in
// colour space `colorspace` (libjpeg's J_COLOR_SPACE): what every progressive file we write uses.
[[nodiscard]] std::vector<ScanPlan> simpleprogression(int components, int colorspace);

// Appends to `head` (everything up to and including the frame header) the scans of `script`
// coded from `planes`, then the end marker. Up to `threads` scans are coded at once (1: all on
// the calling thread); the bytes don't depend on it. Besides `planes`, it holds the coded scans
// and the finished file, each about the size of the output. The planes are let go once the scans
// are coded, before the file is put together in memory they leave.
[[nodiscard]] Result<QByteArray> writeprogressive(QByteArray head, CoefficientPlanes planes,
                                                  const std::vector<ScanPlan>& script, int threads);

} // namespace pivotel

#pragma once

// The cues themselves, on OpenCV's pictures; only src/look/ sees this.

#include <QString>
#include <opencv2/core.hpp>
#include <opencv2/objdetect.hpp>

namespace pivotel::look {

// One cue's reading: the clockwise quarter turns that bring the picture upright (0 to 3), how
// many things agree on it (faces, lines of text), and whether it is clear enough to act on.
struct CueReading {
    bool clear = false;
    int turns = 0;
    int count = 0;
};

// Two cascades for faces: a quick one (local binary patterns) that finds the places worth a
// look, and a careful one (Haar features) that confirms each at full size.
struct FaceModels {
    cv::CascadeClassifier quick;
    cv::CascadeClassifier careful;
};

// Upright faces, looked for at each of the four turns of a grey picture.
[[nodiscard]] CueReading readfaces(FaceModels& models, const cv::Mat& grey);

// Lines of text: their direction, then which of their two sides the letters' tall strokes rise
// on, as Latin and many other scripts have far more ascenders than descenders.
[[nodiscard]] CueReading readtext(const cv::Mat& grey);

} // namespace pivotel::look

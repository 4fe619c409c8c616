#include "look/cues.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <opencv2/imgproc.hpp>

namespace pivotel::look {

namespace {

// The cascade looks at pictures of this long side: faces down to a twentieth of the picture's long side, at a
// cost that four passes can afford.
constexpr int facesside = 640;
constexpr int smallestface = 24;
// Detections a face needs around it; fewer let textures pass for faces at some turn.
constexpr int neighbours = 5;

cv::Mat turned(const cv::Mat& picture, int turns) {
    if (turns == 0)
        return picture;
    cv::Mat out;
    static constexpr std::array codes{cv::ROTATE_90_CLOCKWISE, cv::ROTATE_180,
                                      cv::ROTATE_90_COUNTERCLOCKWISE};
    cv::rotate(picture, out, codes[static_cast<size_t>(turns - 1)]);
    return out;
}

} // namespace

CueReading readfaces(cv::CascadeClassifier& faces, const cv::Mat& grey) {
    // A small picture is enlarged to it too, so that the same faces are found in it.
    cv::Mat small;
    const double scale = double(facesside) / std::max(grey.cols, grey.rows);
    cv::resize(grey, small, cv::Size(), scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    cv::equalizeHist(small, small);
    std::array<int, 4> found{};
    for (int turns = 0; turns < 4; ++turns) {
        std::vector<cv::Rect> hits;
        faces.detectMultiScale(turned(small, turns), hits, 1.1, neighbours, 0,
                               cv::Size(smallestface, smallestface));
        found[static_cast<size_t>(turns)] = static_cast<int>(hits.size());
    }
    const auto best = std::max_element(found.begin(), found.end());
    const int others = std::accumulate(found.begin(), found.end(), 0) - *best;
    CueReading reading;
    reading.turns = static_cast<int>(best - found.begin());
    reading.count = *best;
    // A face seen at one turn and nothing at the others; in a crowd, a stray at another turn
    // is tolerated when the faces outnumber it four to one.
    reading.clear = *best >= 1 && (others == 0 || (*best >= 4 && others * 4 <= *best));
    return reading;
}

} // namespace pivotel::look

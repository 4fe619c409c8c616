#include "look/cues.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <opencv2/imgproc.hpp>

namespace pivotel::look {

namespace {

// The quick cascade looks at pictures of this long side: faces down to a sixteenth of it, at a
// cost that four passes can afford (a few tens of milliseconds).
constexpr int facesside = 400;
constexpr int smallestface = 24;
// The quick cascade is lenient: it only picks the places worth a closer look.
constexpr double quickstep = 1.2;
constexpr int quickneighbours = 1;
// A candidate is looked at again in the full picture, brought to this face size, by the slower
// cascade, which must find it this many times over: at 8, drawn heads, a colour wheel and a lit
// window in OpenCV's manual passed for faces at the wrong turn.
constexpr int closeface = 48;
constexpr int closeneighbours = 12;

const std::array rotations{cv::ROTATE_90_CLOCKWISE, cv::ROTATE_180, cv::ROTATE_90_COUNTERCLOCKWISE};

cv::Mat turned(const cv::Mat& picture, int turns) {
    if (turns == 0)
        return picture;
    cv::Mat out;
    cv::rotate(picture, out, rotations[static_cast<size_t>(turns - 1)]);
    return out;
}

// A box in a picture turned `turns` quarter turns clockwise, as it lies in the picture before
// the turn, which has the given size.
cv::Rect unturned(const cv::Rect& box, cv::Size size, int turns) {
    switch (turns) {
    case 1:
        return {box.y, size.height - box.x - box.width, box.height, box.width};
    case 2:
        return {size.width - box.x - box.width, size.height - box.y - box.height, box.width, box.height};
    case 3:
        return {size.width - box.y - box.height, box.x, box.height, box.width};
    default:
        return box;
    }
}

// Whether the careful cascade finds a face where the quick one did, in the full picture: the
// face with half its size around it, turned the same way and brought to a set size.
bool closerlook(cv::CascadeClassifier& careful, const cv::Mat& grey, cv::Size smallsize, int turns,
                const cv::Rect& hit) {
    const int margin = hit.width / 2;
    const cv::Rect around =
        unturned(cv::Rect(hit.x - margin, hit.y - margin, hit.width + 2 * margin, hit.height + 2 * margin),
                 smallsize, turns);
    const double up = double(grey.cols) / smallsize.width;
    const cv::Rect full =
        cv::Rect(int(around.x * up), int(around.y * up), int(around.width * up), int(around.height * up)) &
        cv::Rect(0, 0, grey.cols, grey.rows);
    if (full.empty())
        return false;
    const double scale = double(closeface) / (hit.width * up);
    cv::Mat close;
    cv::resize(turned(grey(full), turns), close, cv::Size(), scale, scale,
               scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    std::vector<cv::Rect> faces;
    careful.detectMultiScale(close, faces, 1.1, closeneighbours, 0,
                             cv::Size(closeface * 2 / 3, closeface * 2 / 3),
                             cv::Size(closeface * 3 / 2, closeface * 3 / 2));
    return !faces.empty();
}

} // namespace

CueReading readfaces(FaceModels& models, const cv::Mat& grey) {
    // A small picture is enlarged to it too, so that the same faces are found in it.
    cv::Mat small;
    const double scale = double(facesside) / std::max(grey.cols, grey.rows);
    cv::resize(grey, small, cv::Size(), scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    cv::equalizeHist(small, small);
    // The careful cascade sees the candidates with the contrast of the whole picture spread,
    // as the quick one does.
    cv::Mat even;
    cv::equalizeHist(grey, even);
    std::array<int, 4> found{};
    for (int turns = 0; turns < 4; ++turns) {
        std::vector<cv::Rect> hits;
        models.quick.detectMultiScale(turned(small, turns), hits, quickstep, quickneighbours, 0,
                                      cv::Size(smallestface, smallestface));
        found[static_cast<size_t>(turns)] =
            static_cast<int>(std::count_if(hits.begin(), hits.end(), [&](const cv::Rect& hit) {
                return closerlook(models.careful, even, small.size(), turns, hit);
            }));
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

#include "look/cues.h"

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <opencv2/imgproc.hpp>
#include <optional>

namespace pivotel::look {

namespace {

// The quick cascade looks at pictures of this long side: faces down to a sixteenth of it, at a
// cost that four passes can afford (a few tens of milliseconds).
constexpr int facesside = 400;
// Faces that would veto clear text are looked for at this side, down to a thirteenth of it: a
// face that contradicts a page's text is a photo on it, or a person holding it, not a crowd.
constexpr int vetoside = 320;
constexpr int smallestface = 24;
// The quick cascade is lenient: it only picks the places worth a closer look.
constexpr double quickstep = 1.2;
constexpr int quickneighbours = 1;
// Where that gives no clear cue, faces down to a twentieth, as in a group photo, are looked for
// at this side, in finer steps: at 20% the faces of a group fell between two sizes at one turn.
// Doing so for every photo cost half as long again; most photos with faces don't need it.
constexpr int finerside = 480;
constexpr double finerstep = 1.15;
// Where neither gives a clear cue, a face filling much of the frame may lean: close-ups and
// selfies often tilt the head further than the frontal cascades take. The quick cascade looks
// once more at the picture brought to this side, leant this many degrees either way: faces down
// to a fifth of the frame, for some 7 ms a photo (18 at 128 pixels).
constexpr int leanside = 112;
constexpr double leandegrees = 15;
// The leant picture is framed in a fifth of its side, made up from its edge.
constexpr int leanpadding = 5;
// A candidate is looked at again in the full picture, brought to this face size, by the slower
// cascade, which must find it this many times over: at 8, drawn heads, a colour wheel and a lit
// window in OpenCV's manual passed for faces at the wrong turn.
constexpr int closeface = 48;
constexpr int closeneighbours = 12;
// A face in a colour picture shows skin tones (the usual YCrCb box, which holds light and dark
// skin alike) in at least this share of its middle: leaves, fur and lit stone that pass the
// cascades at one turn mostly don't. Real faces in the bench's photos show 0.56 to 1.0, a
// squirrel 0.37.
constexpr double skinshare = 0.5;
// A picture counts as without colour (black and white, a scan of one) when fewer than this share
// of its pixels have any: the skin test would refuse every face in it.
constexpr double colouredshare = 0.05;

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

cv::Mat chromaof(const cv::Mat& colour) {
    cv::Mat ycrcb;
    cv::cvtColor(colour, ycrcb, cv::COLOR_RGB2YCrCb);
    return ycrcb;
}

bool colourless(const cv::Mat& colour) {
    cv::Mat neutral; // pixels whose chroma is within a few levels of grey
    cv::inRange(chromaof(colour), cv::Scalar(0, 122, 122), cv::Scalar(255, 134, 134), neutral);
    const double coloured = 1.0 - double(cv::countNonZero(neutral)) / double(neutral.total());
    return coloured < colouredshare;
}

// Whether the middle of a face's box, in the full picture, shows skin tones.
bool showsskin(const cv::Mat& colour, const cv::Rect& face) {
    const cv::Rect middle =
        cv::Rect(face.x + face.width / 4, face.y + face.height / 4, face.width / 2, face.height / 2) &
        cv::Rect(0, 0, colour.cols, colour.rows);
    if (middle.empty())
        return false;
    cv::Mat skin;
    cv::inRange(chromaof(colour(middle)), cv::Scalar(0, 133, 77), cv::Scalar(255, 173, 127), skin);
    return cv::countNonZero(skin) >= skinshare * middle.area();
}

cv::Rect scaled(const cv::Rect& box, double by) {
    return {int(box.x * by), int(box.y * by), int(box.width * by), int(box.height * by)};
}

// Whether the careful cascade finds a face where the quick one did, in the full picture: the
// face with half its size around it, turned the same way, leant `lean` degrees counterclockwise
// as the quick one saw it, and brought to a set size.
bool closerlook(cv::CascadeClassifier& careful, const cv::Mat& grey, cv::Size smallsize, int turns,
                const cv::Rect& hit, double lean = 0) {
    // A leant face is cut out with more around it, which its leaning brings into the middle.
    const int margin = lean == 0 ? hit.width / 2 : hit.width;
    const cv::Rect around =
        unturned(cv::Rect(hit.x - margin, hit.y - margin, hit.width + 2 * margin, hit.height + 2 * margin),
                 smallsize, turns);
    const double up = double(grey.cols) / smallsize.width;
    const cv::Rect wanted = scaled(around, up);
    const cv::Rect full = wanted & cv::Rect(0, 0, grey.cols, grey.rows);
    if (full.empty())
        return false;
    // The careful cascade needs some of a face's surroundings: for a face at the frame's edge,
    // or filling it, as in a close-up, they are made up from the edge's own pixels.
    cv::Mat region = grey(full);
    if (full != wanted)
        cv::copyMakeBorder(region, region, full.y - wanted.y, wanted.br().y - full.br().y, full.x - wanted.x,
                           wanted.br().x - full.br().x, cv::BORDER_REPLICATE);
    const double scale = double(closeface) / (hit.width * up);
    cv::Mat close;
    cv::resize(turned(region, turns), close, cv::Size(), scale, scale,
               scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    if (lean != 0) {
        const cv::Point2f centre(float(close.cols) / 2, float(close.rows) / 2);
        cv::warpAffine(close, close, cv::getRotationMatrix2D(centre, lean, 1.0), close.size(),
                       cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        const int keep = 2 * closeface;
        close = close(cv::Rect((close.cols - keep) / 2, (close.rows - keep) / 2, keep, keep) &
                      cv::Rect(0, 0, close.cols, close.rows));
    }
    std::vector<cv::Rect> faces;
    careful.detectMultiScale(close, faces, 1.1, closeneighbours, 0,
                             cv::Size(closeface * 2 / 3, closeface * 2 / 3),
                             cv::Size(closeface * 3 / 2, closeface * 3 / 2));
    return !faces.empty();
}

// The faces confirmed at each turn of one picture, as boxes in the full picture, over one look
// or more.
class FaceSearch {
  public:
    FaceSearch(FaceModels& models, const cv::Mat& grey, const std::function<cv::Mat()>& colourof)
        : models_(models), grey_(grey), colourof_(colourof) {}

    // The quick cascade at the picture brought to `side`, at the turns whose bits `turnset` holds
    // (bit n for n quarter turns); each of its candidates looked at again by the careful one.
    void look(int side, int largestface, double step, unsigned turnset = 0xF) {
        const cv::Mat small = smallof(side);
        for (int turns = 0; turns < 4; ++turns) {
            if ((turnset & (1U << turns)) == 0)
                continue;
            std::vector<cv::Rect> hits;
            models_.quick.detectMultiScale(turned(small, turns), hits, step, quickneighbours, 0,
                                           cv::Size(smallestface, smallestface),
                                           cv::Size(largestface, largestface));
            for (const cv::Rect& hit : hits)
                confirm(small.size(), turns, hit, 0);
        }
    }

    // The quick cascade at each turn of the picture brought to `side` and leant `degrees` either
    // way, for faces that lean the other.
    void lookleant(int side, double degrees) {
        const cv::Mat small = smallof(side);
        // A face filling the frame needs surroundings to be seen, and its corners stay in the
        // frame when it leans: made up from the frame's edge.
        const int pad = side / leanpadding;
        for (int turns = 0; turns < 4; ++turns) {
            cv::Mat framed;
            cv::copyMakeBorder(turned(small, turns), framed, pad, pad, pad, pad, cv::BORDER_REPLICATE);
            const cv::Point2f centre(float(framed.cols) / 2, float(framed.rows) / 2);
            for (const double lean : {-degrees, degrees}) {
                const cv::Mat leaning = cv::getRotationMatrix2D(centre, lean, 1.0);
                cv::Mat leant;
                cv::Matx23d back;
                cv::warpAffine(framed, leant, leaning, framed.size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
                cv::invertAffineTransform(leaning, back);
                std::vector<cv::Rect> hits;
                models_.quick.detectMultiScale(leant, hits, quickstep, quickneighbours, 0,
                                               cv::Size(smallestface, smallestface));
                for (const cv::Rect& hit : hits) {
                    // The hit's middle, in the turned picture before its frame and lean.
                    const cv::Matx21d middle =
                        back * cv::Vec3d(hit.x + hit.width / 2.0, hit.y + hit.height / 2.0, 1.0);
                    confirm(small.size(), turns,
                            cv::Rect(int(middle(0)) - pad - hit.width / 2,
                                     int(middle(1)) - pad - hit.height / 2, hit.width, hit.height),
                            lean);
                }
            }
        }
    }

    [[nodiscard]] int found(int turns) const {
        return static_cast<int>(faces_[static_cast<size_t>(turns)].size());
    }

    [[nodiscard]] CueReading reading() const {
        std::array<int, 4> counts{};
        for (int turns = 0; turns < 4; ++turns)
            counts[static_cast<size_t>(turns)] = found(turns);
        const auto best = std::max_element(counts.begin(), counts.end());
        const int others = std::accumulate(counts.begin(), counts.end(), 0) - *best;
        CueReading reading;
        reading.turns = static_cast<int>(best - counts.begin());
        reading.count = *best;
        // A face seen at one turn and nothing at the others; in a crowd, a stray at another turn
        // is tolerated when the faces outnumber it four to one.
        reading.clear = *best >= 1 && (others == 0 || (*best >= 4 && others * 4 <= *best));
        return reading;
    }

  private:
    // The grey picture brought to `side` on its long side, its contrast spread. A small picture
    // is enlarged to the side too, so that the same faces are found in it.
    cv::Mat smallof(int side) const {
        cv::Mat small;
        const double scale = double(side) / std::max(grey_.cols, grey_.rows);
        cv::resize(grey_, small, cv::Size(), scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
        cv::equalizeHist(small, small);
        return small;
    }

    // A quick look's candidate, a box in the picture of `smallsize` turned `turns` times (and
    // leant `lean` degrees), kept where the careful look and the skin confirm it.
    void confirm(cv::Size smallsize, int turns, const cv::Rect& hit, double lean) {
        const double up = double(grey_.cols) / smallsize.width;
        const cv::Rect box = scaled(unturned(hit, smallsize, turns), up);
        auto& confirmed = faces_[static_cast<size_t>(turns)];
        // A face confirmed already, as the later looks see many of the first one's.
        if (std::any_of(confirmed.begin(), confirmed.end(),
                        [&](const cv::Rect& face) { return (face & box).area() * 2 > box.area(); }))
            return;
        if (closerlook(models_.careful, even(), smallsize, turns, hit, lean) && skinned(box))
            confirmed.push_back(box);
    }

    // The careful cascade sees the candidates with the contrast of the whole picture spread, as
    // the quick one does; made at the first candidate.
    const cv::Mat& even() {
        if (even_.empty())
            cv::equalizeHist(grey_, even_);
        return even_;
    }

    // A face in a colour picture shows skin; the colour picture is made at the first face, as
    // most pictures have none.
    bool skinned(const cv::Rect& box) {
        if (!nocolour_) {
            colour_ = colourof_();
            nocolour_ = colour_.empty() || colourless(colour_);
        }
        return *nocolour_ || showsskin(colour_, box);
    }

    FaceModels& models_;
    const cv::Mat& grey_;
    const std::function<cv::Mat()>& colourof_;
    cv::Mat even_;
    cv::Mat colour_;
    std::optional<bool> nocolour_;
    std::array<std::vector<cv::Rect>, 4> faces_;
};

} // namespace

CueReading readfaces(FaceModels& models, const cv::Mat& grey, const std::function<cv::Mat()>& colourof) {
    FaceSearch search(models, grey, colourof);
    search.look(facesside, 0, quickstep);
    const CueReading reading = search.reading();
    if (reading.clear)
        return reading;
    // Nothing clear: smaller faces, as in a group photo, are looked for in a larger picture.
    search.look(finerside, smallestface * finerside / facesside * 6 / 5, finerstep);
    const CueReading finer = search.reading();
    if (finer.clear)
        return finer;
    // Still nothing clear: a face filling much of the frame may lean.
    search.lookleant(leanside, leandegrees);
    return search.reading();
}

bool facesagainst(FaceModels& models, const cv::Mat& grey, const std::function<cv::Mat()>& colourof,
                  int turns) {
    const int upright = turns % 4;
    FaceSearch search(models, grey, colourof);
    search.look(vetoside, 0, quickstep, 0xFU & ~(1U << upright));
    for (int other = 0; other < 4; ++other) {
        if (other != upright && search.found(other) > 0)
            return true;
    }
    return false;
}

} // namespace pivotel::look

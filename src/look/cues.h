#pragma once

// The cues themselves, on OpenCV's pictures; only src/look/ sees this.

#include "support/status.h"

#include <QString>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/objdetect.hpp>
#include <vector>

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

// Upright faces, looked for at each of the four turns of a grey picture. `colourof` gives the
// same picture in RGB, asked for only once a face is found: a face must show skin tones in it,
// unless the picture has no colour at all.
// Where the first look gives no clear cue, a second looks for smaller faces, as in a group photo,
// and where that gives none either, a third for a face filling the frame and leaning.
[[nodiscard]] CueReading readfaces(FaceModels& models, const cv::Mat& grey,
                                   const std::function<cv::Mat()>& colourof);

// Whether a quick look, smaller than readfaces' first, sees an upright face at any turn but
// `turns`: what a reading of the picture at `turns` (its text's) must not contradict. The one
// turn that can't contradict it is left out.
[[nodiscard]] bool facesagainst(FaceModels& models, const cv::Mat& grey,
                                const std::function<cv::Mat()>& colourof, int turns);

// Lines of text found in a picture, with the picture turned so that they run along its rows.
struct TextLines {
    int quarter = -1; // quarter turns clockwise from the picture to `ground`; -1: no text
    cv::Mat ground;   // the grey picture so turned
    cv::Mat ink;      // its letter-sized marks, 255 on 0
    int size = 0;     // a typical letter's larger side, in pixels
    std::vector<cv::Rect> lines;
};
[[nodiscard]] TextLines findtextlines(const cv::Mat& grey);

// Which of the lines' two sides the letters' tall strokes rise on, as Latin and many other
// scripts have far more ascenders than descenders.
[[nodiscard]] CueReading readtext(const TextLines& text);

// The letters' own shapes, read by Tesseract's orientation detection (Debian's tesseract-ocr-osd)
// on the lines' region: for text whose strokes don't tell, as capitals and figures don't. One
// object serves one thread at a time.
class LetterShapes {
  public:
    // Fails, with a reason a user can read, when the model can't be loaded.
    static Result<std::unique_ptr<LetterShapes>> open(const QString& modelfolder);
    ~LetterShapes();
    LetterShapes(const LetterShapes&) = delete;
    LetterShapes& operator=(const LetterShapes&) = delete;

    // Upright or upside down, of lines already found; unclear when the letters don't say.
    [[nodiscard]] CueReading read(const TextLines& text);

  private:
    struct Engine;
    explicit LetterShapes(std::unique_ptr<Engine> engine);
    std::unique_ptr<Engine> engine_;
};

} // namespace pivotel::look

#include "look/cues.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <tesseract/baseapi.h>

namespace pivotel::look {

namespace {

const QString modelname = QStringLiteral("osd.traineddata");
// Tesseract's orientation detection reads letters best at about this size in pixels (their larger
// side); the lines' region is scaled to it, which also bounds its cost on large print.
constexpr double readsize = 24;
// The least of Tesseract's orientation confidences that counts (its own scale: how far the
// second-best way's score is behind the best one). Capitals in a typewriter face, as receipts
// print them, are read upside down with up to 1.9.
constexpr float leastconfidence = 2.0F;

// Letters enough for Tesseract to weigh the four ways; its time grows with the letters it sees,
// so no more lines than these are shown to it. Of the bench's photographed receipts it read 28%
// of the turned copies with 80, 80% with 120 and 93% with 160, never the wrong way.
constexpr double enoughletters = 160;

// The longest lines, up to enough letters, cut out with half a letter's margin, brought to the
// reading size and stacked on the lines' own ground: the picture around and between them (a
// table, a photo's edge) only misleads Tesseract's search for lines.
cv::Mat stackedlines(const TextLines& text) {
    std::vector<cv::Rect> lines = text.lines;
    std::ranges::sort(lines, [](const cv::Rect& a, const cv::Rect& b) { return a.width > b.width; });
    const double scale = readsize / text.size;
    const int margin = text.size / 2;
    const cv::Rect whole(0, 0, text.ground.cols, text.ground.rows);
    cv::Mat notink;
    cv::bitwise_not(text.ink, notink);
    std::vector<cv::Mat> cuts;
    double letters = 0, groundsum = 0, groundcount = 0;
    int width = 0, height = 0;
    for (const cv::Rect& line : lines) {
        if (letters >= enoughletters)
            break;
        const cv::Rect cut = (line + cv::Size(2 * margin, 2 * margin) - cv::Point(margin, margin)) & whole;
        cv::Mat scaled;
        cv::resize(text.ground(cut), scaled, cv::Size(), scale, scale,
                   scale > 1 ? cv::INTER_CUBIC : cv::INTER_AREA);
        const double groundpixels = cv::countNonZero(notink(cut));
        groundsum += cv::mean(text.ground(cut), notink(cut))[0] * groundpixels;
        groundcount += groundpixels;
        letters += static_cast<double>(line.width) / text.size;
        width = std::max(width, scaled.cols);
        height += scaled.rows;
        cuts.push_back(std::move(scaled));
    }
    const int pad = static_cast<int>(readsize);
    cv::Mat stack(height + 2 * pad, width + 2 * pad, CV_8U,
                  cv::Scalar(groundcount > 0 ? groundsum / groundcount : 255));
    int y = pad;
    for (const cv::Mat& cut : cuts) {
        cut.copyTo(stack(cv::Rect(pad, y, cut.cols, cut.rows)));
        y += cut.rows;
    }
    return stack;
}

} // namespace

struct LetterShapes::Engine {
    tesseract::TessBaseAPI api;
};

Result<std::unique_ptr<LetterShapes>> LetterShapes::open(const QString& modelfolder) {
    const QString file = QDir(modelfolder).filePath(modelname);
    if (!QFileInfo(file).isFile())
        return Status::failure(
            QStringLiteral("the text model %1 is missing (Debian package tesseract-ocr-osd)").arg(file));
    // Tesseract's settings are partly global: workers opening their own engines at once take turns.
    static std::mutex opening;
    const std::lock_guard lock(opening);
    auto engine = std::make_unique<Engine>();
    // Tesseract reports pages it can't read on stderr; here that only means "no cue".
    engine->api.SetVariable("debug_file", "/dev/null");
    if (engine->api.Init(QFile::encodeName(modelfolder).constData(), "osd", tesseract::OEM_TESSERACT_ONLY) !=
        0)
        return Status::failure(QStringLiteral("the text model %1 can't be read").arg(file));
    engine->api.SetPageSegMode(tesseract::PSM_OSD_ONLY);
    return std::unique_ptr<LetterShapes>(new LetterShapes(std::move(engine)));
}

LetterShapes::LetterShapes(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {
}

LetterShapes::~LetterShapes() {
    engine_->api.End();
}

CueReading LetterShapes::read(const TextLines& text) {
    if (text.quarter < 0)
        return {};
    const cv::Mat letters = stackedlines(text);
    tesseract::TessBaseAPI& api = engine_->api;
    api.SetImage(letters.data, letters.cols, letters.rows, 1, static_cast<int>(letters.step));
    int degrees = 0;
    float confidence = 0;
    const char* script = nullptr;
    float scriptconfidence = 0;
    const bool read = api.DetectOrientationScript(&degrees, &confidence, &script, &scriptconfidence);
    api.Clear();
    // Tesseract gives the clockwise turn the stack has been given; its lines run along the rows,
    // so a quarter turn either way contradicts them.
    const int turns = (4 - degrees / 90) % 4;
    if (!read || turns % 2 != 0 || confidence < leastconfidence)
        return {};
    return {true, text.quarter + turns, static_cast<int>(text.lines.size())};
}

} // namespace pivotel::look

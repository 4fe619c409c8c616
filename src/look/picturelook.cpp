#include "look/picturelook.h"

#include "jpeg/decode.h"
#include "jpeg/segments.h"
#include "look/cues.h"

#include <QDir>
#include <QFileInfo>
#include <opencv2/core/utility.hpp>

namespace pivotel {

namespace {

const QString quickfacemodel = QStringLiteral("lbpcascades/lbpcascade_frontalface.xml");
const QString carefulfacemodel = QStringLiteral("haarcascades/haarcascade_frontalface_alt2.xml");
// Text wants its letters a few pixels high: the reduced decode covers this long side, which the
// decoder's 1/4 reduction of a 24-megapixel photo does.
constexpr int lookside = 1200;

QString turnwords(int turns) {
    return turns == 2 ? QStringLiteral("a half turn") : QStringLiteral("a quarter turn");
}

LookVerdict verdictof(const look::CueReading& reading, const QString& kind, const QString& one,
                      const QString& many) {
    LookVerdict verdict;
    if (!reading.clear || reading.turns == 0)
        return verdict;
    verdict.turns = reading.turns;
    verdict.cuekind = kind;
    verdict.cue = QStringLiteral("%1 %2 upright after %3")
                      .arg(reading.count)
                      .arg(reading.count == 1 ? one : many, turnwords(reading.turns));
    return verdict;
}

LookVerdict facesverdict(const look::CueReading& reading) {
    return verdictof(reading, QStringLiteral("faces"), QStringLiteral("face"), QStringLiteral("faces"));
}

LookVerdict textverdict(const look::CueReading& reading) {
    return verdictof(reading, QStringLiteral("text"), QStringLiteral("line of text"),
                     QStringLiteral("lines of text"));
}

// The picture in one of Qt's formats, as OpenCV's picture of the given type, owning its pixels.
cv::Mat matof(const QImage& picture, QImage::Format format, int type) {
    const QImage converted = picture.convertToFormat(format);
    return cv::Mat(converted.height(), converted.width(), type, const_cast<uchar*>(converted.constBits()),
                   static_cast<size_t>(converted.bytesPerLine()))
        .clone();
}

cv::Mat colourof(const QImage& picture) {
    return matof(picture, QImage::Format_RGB888, CV_8UC3);
}

cv::Mat greyof(const QImage& picture) {
    return matof(picture, QImage::Format_Grayscale8, CV_8U);
}

Status loadmodel(cv::CascadeClassifier& model, const QString& folder, const QString& name) {
    const QString file = QDir(folder).filePath(name);
    if (!QFileInfo(file).isFile())
        return Status::failure(
            QStringLiteral("the face model %1 is missing (Debian package opencv-data)").arg(file));
    try {
        if (!model.load(file.toStdString()))
            return Status::failure(QStringLiteral("the face model %1 can't be read").arg(file));
    } catch (const cv::Exception& e) {
        return Status::failure(QStringLiteral("the face model %1 can't be read: %2").arg(file, e.what()));
    }
    return Status::success();
}

} // namespace

struct PictureLook::Models {
    look::FaceModels faces;
    std::unique_ptr<look::LetterShapes> letters;

    // Lines of text, read by their tall strokes and, where those don't tell, by their letters.
    look::CueReading readtext(const cv::Mat& grey) const {
        const look::TextLines lines = look::findtextlines(grey);
        const look::CueReading strokes = look::readtext(lines);
        return strokes.clear ? strokes : letters->read(lines);
    }
};

QString lookmodelfolder() {
    const QString chosen = qEnvironmentVariable("PIVOTEL_LOOK_MODELS");
    return chosen.isEmpty() ? QStringLiteral("/usr/share/opencv4") : chosen;
}

QString textmodelfolder() {
    const QString chosen = qEnvironmentVariable("PIVOTEL_TEXT_MODELS");
    return chosen.isEmpty() ? QStringLiteral("/usr/share/tesseract-ocr/5/tessdata") : chosen;
}

bool needslook(const QString& path) {
    const auto header = readjpegheader(path);
    if (!header)
        return false;
    const int orientation = exiforientation(*header).value_or(1);
    return orientation == 0 || orientation == 1;
}

Result<std::unique_ptr<PictureLook>> PictureLook::open(const QString& modelfolder,
                                                       const QString& textfolder) {
    // A photo is looked at on one thread: batches give each core a photo of its own, where
    // OpenCV's own threads would only contend with them.
    cv::setNumThreads(1);
    auto models = std::make_unique<Models>();
    for (const auto& [model, name] : {std::pair{&models->faces.quick, quickfacemodel},
                                      std::pair{&models->faces.careful, carefulfacemodel}}) {
        Status loaded = loadmodel(*model, modelfolder, name);
        if (!loaded)
            return loaded;
    }
    auto letters = look::LetterShapes::open(textfolder);
    if (!letters)
        return letters.status();
    models->letters = std::move(letters).value();
    return std::unique_ptr<PictureLook>(new PictureLook(std::move(models)));
}

PictureLook::PictureLook(std::unique_ptr<Models> models) : models_(std::move(models)) {
}

PictureLook::~PictureLook() = default;

QImage PictureLook::lookpicture(const QString& path) {
    return decodereduced(path,
                         [](QSize size) {
                             return size.scaled(lookside, lookside, Qt::KeepAspectRatio).boundedTo(size);
                         })
        .picture;
}

LookVerdict PictureLook::lookatphoto(const QString& path) {
    return lookatpicture(lookpicture(path));
}

LookVerdict PictureLook::facecue(const QImage& picture) {
    try {
        return facesverdict(
            look::readfaces(models_->faces, greyof(picture), [&] { return colourof(picture); }));
    } catch (const cv::Exception&) {
        return {};
    }
}

LookVerdict PictureLook::textcue(const QImage& picture) {
    try {
        return textverdict(models_->readtext(greyof(picture)));
    } catch (const cv::Exception&) {
        return {};
    }
}

LookVerdict PictureLook::lookatpicture(const QImage& picture) {
    if (picture.isNull())
        return {};
    try {
        const cv::Mat grey = greyof(picture);
        const auto colour = [&] {
            return colourof(picture);
        };
        // Clear text needs the faces only to veto it: faces upright at another turn, in a quick
        // look at those three.
        const look::CueReading text = models_->readtext(grey);
        if (text.clear) {
            if (look::facesagainst(models_->faces, grey, colour, text.turns))
                return {};
            return textverdict(text);
        }
        return facesverdict(look::readfaces(models_->faces, grey, colour));
    } catch (const cv::Exception&) {
        return {};
    }
}

} // namespace pivotel

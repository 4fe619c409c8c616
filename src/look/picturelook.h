#pragma once

#include "look/lookverdict.h"
#include "support/status.h"

#include <QImage>
#include <QString>
#include <memory>

namespace pivotel {

// The folder of OpenCV's cascades (Debian's opencv-data); PIVOTEL_LOOK_MODELS overrides it.
[[nodiscard]] QString lookmodelfolder();

// The folder of Tesseract's orientation model (Debian's tesseract-ocr-osd); PIVOTEL_TEXT_MODELS
// overrides it.
[[nodiscard]] QString textmodelfolder();

// True when the photo's EXIF orientation leaves its upright open: no orientation, 0 or 1.
// False for a file that can't be read as a JPEG.
[[nodiscard]] bool needslook(const QString& path);

// Looks at pictures for cues to their upright: upright faces at each of the four turns, and the
// direction and letters of lines of text. Suggests a turn only when the cues are clear and agree. One object
// serves one thread at a time; it loads its models once.
class PictureLook {
  public:
    // Fails, with a reason a user can read, when a model is missing or unreadable: the check
    // can't run.
    static Result<std::unique_ptr<PictureLook>> open(const QString& modelfolder = lookmodelfolder(),
                                                     const QString& textfolder = textmodelfolder());
    ~PictureLook();
    PictureLook(const PictureLook&) = delete;
    PictureLook& operator=(const PictureLook&) = delete;

    // Decodes the photo at a reduced size and looks at it; a file that can't be decoded gives
    // no suggestion.
    [[nodiscard]] LookVerdict lookatphoto(const QString& path);
    // The photo as the look sees it: decoded at the decoder's smallest reduction that keeps the
    // letters of a page legible; null when it can't be decoded.
    [[nodiscard]] static QImage lookpicture(const QString& path);
    // Looks at a picture as it stands.
    [[nodiscard]] LookVerdict lookatpicture(const QImage& picture);

    // Each cue alone, for measuring them.
    [[nodiscard]] LookVerdict facecue(const QImage& picture);
    [[nodiscard]] LookVerdict textcue(const QImage& picture);

  private:
    struct Models;
    explicit PictureLook(std::unique_ptr<Models> models);
    std::unique_ptr<Models> models_;
};

} // namespace pivotel

#pragma once

#include "photolist/labels.h"

#include <QImage>

namespace pivotel {

// A picture as an action turns it, made a strip of rows at a time for the encoder, so that no
// second whole picture is ever held: a 24-megapixel photo needs its decoded pixels and a few
// rows more. Pure pixel moves, nothing interpolated, no border. "Flip Left" mirrors left to
// right, as the lossless path's flip does.
class TurnedPicture {
  public:
    // `source` is shared, not copied, when it is Format_RGB888 or Format_Grayscale8; any other
    // format is converted to RGB888 first.
    TurnedPicture(QImage source, Action action);

    int width() const;
    int height() const;
    int bytesperpixel() const { return bytesperpixel_; }
    bool isgrey() const { return bytesperpixel_ == 1; }

    // Writes rows first .. first + count - 1 of the turned picture to `out`, each row `stride`
    // bytes after the one before.
    void copyrows(int first, int count, unsigned char* out, qsizetype stride) const;

  private:
    QImage source_;
    Action action_;
    int bytesperpixel_ = 3;
};

} // namespace pivotel

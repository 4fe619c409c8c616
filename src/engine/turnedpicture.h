#pragma once

#include "jpeg/encode.h"
#include "photolist/action.h"

#include <QImage>

namespace pivotel {

// A picture as an action turns it, made a strip of rows at a time for the encoder, so that no
// second whole picture is ever held: a 24-megapixel photo needs its decoded pixels and a few
// rows more. Pure pixel moves, nothing interpolated, no border. Each action moves the pixels as
// the lossless path's operation moves the blocks: "Flip Left" mirrors left to right, the
// transpose across the top-left to bottom-right diagonal.
class TurnedPicture : public RowSource {
  public:
    // The source is shared, not copied, when its format is Format_RGBX8888, Format_RGB888 or
    // Format_Grayscale8; any other is converted to Format_RGBX8888 first.
    TurnedPicture(QImage source, Action action);

    int width() const override;
    int height() const override;
    // The pixel layout of the rows: that of the source.
    QImage::Format format() const override { return source_.format(); }
    int bytesperpixel() const override { return bytesperpixel_; }

    // Writes rows first .. first + count - 1 of the turned picture to `out`, each row `stride`
    // bytes after the one before. A quarter turn reads a run of `count` pixels from every source
    // row, so it goes faster the more rows a call asks for.
    void copyrows(int first, int count, unsigned char* out, qsizetype stride) const override;

  private:
    QImage source_;
    Action action_;
    int bytesperpixel_ = 4;
};

} // namespace pivotel

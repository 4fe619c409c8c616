#pragma once

#include "jpeg/coding.h"
#include "jpeg/probe.h"
#include "support/status.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <functional>
#include <vector>

namespace pivotel {

// One APPn or COM segment of a JPEG file: its marker code and its body.
struct MarkerSegment {
    int marker = 0;
    QByteArray body;
};

// A whole photo in memory, with what a re-encoding has to carry into the new file.
struct DecodedPicture {
    // The pixels as the file stores them, EXIF orientation not applied: Format_RGBX8888, or
    // Format_Grayscale8 for a grey photo, which so stays grey (and keeps a grey profile valid).
    // A CMYK or YCCK photo gives its C, M, Y, K bytes as the file has them (Adobe's inverted
    // ones stay inverted) in a Format_RGBX8888 image, since Qt has no CMYK format: its colours
    // are never converted, only moved.
    QImage image;
    JpegColorSpace colorspace = JpegColorSpace::YCbCr; // as the file codes it
    JpegCoding coding;
    QByteArray colorprofile; // the ICC profile, empty when the photo has none
    qint64 jpgdpi = 72;      // the resolution in dots per inch
    // Every APPn and COM segment except the colour profile's (EXIF, XMP, IPTC, comments...), in
    // the file's order.
    std::vector<MarkerSegment> segments;
    // libjpeg's warning about flawed data that it read past (stray bytes before a marker, data
    // that ends early), empty when the data is sound.
    QString warning;
};

// Decodes the whole photo with its colour profile and resolution, with libjpeg's accurate
// transform. The resolution is the EXIF block's vertical one, else the JFIF density's, else 72.
// Data that decodes only with a warning gives the picture as libjpeg reads it, as every viewer
// shows it; data that libjpeg can't decode, and any other failure, give no picture but a reason.
[[nodiscard]] Result<DecodedPicture> decodepicture(const QString& path);

// A picture decoded for showing, and the size of the photo itself.
struct ReducedPicture {
    QImage picture; // Format_RGB888; null when nothing could be decoded
    QSize photosize;
};

// Decodes a JPEG file for showing, fast, at the smallest of the decoder's reductions (1/2, 1/4,
// 1/8) that still covers `shownsize(the photo's size)` both ways; with no `shownsize`, whole.
// Damaged data gives what could be decoded of it; CMYK data gives nothing, since a guessed
// conversion would show false colours; nor does a progressive photo whose coefficients would take
// more than half a gigabyte, which its header tells before the file is read.
[[nodiscard]] ReducedPicture decodereduced(const QString& path, const std::function<QSize(QSize)>& shownsize);

// True when `data` begins as JPEG data does.
[[nodiscard]] bool isjpegdata(const QByteArray& data);

} // namespace pivotel

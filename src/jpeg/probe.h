#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QSize>
#include <QString>
#include <optional>

namespace pivotel {

enum class JpegColorSpace { YCbCr, Rgb, Grey, Cmyk, Ycck };
enum class JpegSampling { S444, S422, S420, Grey, S440, S411, Other };

// What a JPEG file's header says about its picture, read without decoding any image data.
struct JpegProbe {
    QSize size;
    JpegColorSpace colorspace = JpegColorSpace::YCbCr;
    JpegSampling sampling = JpegSampling::Other;
    std::optional<int> orientation; // the EXIF orientation (1..8), when the file has one
};

// The colour space that libjpeg's J_COLOR_SPACE `libjpegspace` codes.
[[nodiscard]] JpegColorSpace codedcolorspace(int libjpegspace);

// The bytes that the picture's coefficient arrays take in memory, as libjpeg holds them for a
// lossless turn or a multi-pass coding: 64 two-byte coefficients a block, whole MCUs.
[[nodiscard]] qint64 coefficientbytes(const JpegProbe& probe);

// Reads the header of the file at `path`. Fails when it isn't a JPEG whose header gives a
// width and a height of at least 1.
[[nodiscard]] Result<JpegProbe> probejpeg(const QString& path);
// The same for JPEG data in memory: a whole file, or its header through the start of scan.
[[nodiscard]] Result<JpegProbe> probejpegdata(const QByteArray& header);

} // namespace pivotel

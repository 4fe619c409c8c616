#pragma once

// A folder for a test's photos, and what a picture shown smaller must look like.

#include "support/testpictures.h"

#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>

namespace pivotel::test {

class PhotoFolder : public ::testing::Test {
  protected:
    QString file(const char* name) const { return dir.filePath(QLatin1String(name)); }
    QTemporaryDir dir;
};

// Decoders, encoders and scalers move a pixel by a step or so on average; a picture turned,
// mirrored or shifted moves it by tens.
constexpr double meantolerance = 2.0;

// The mean difference of all channels of two pictures; pictures of other sizes give 255.
inline double meandifference(const Pixels& a, const Pixels& b) {
    if (a.width != b.width || a.height != b.height || a.rgb.empty())
        return 255;
    double sum = 0;
    for (size_t i = 0; i < a.rgb.size(); ++i)
        sum += std::abs(int(a.rgb[i]) - int(b.rgb[i]));
    return sum / double(a.rgb.size());
}

// The whole photo decoded by Qt's own readers and scaled smoothly to `size`.
inline Pixels wholescaled(const QString& path, QSize size) {
    return pixelsof(QImage(path).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

} // namespace pivotel::test

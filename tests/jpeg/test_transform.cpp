#include "jpeg/transform.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

// Whole blocks turn exactly either way (the engine's tests show it); the policies differ on the
// partial blocks of a photo whose size isn't whole blocks.
TEST(Transform, KeepHoldsThePhotosSizeTrimTurnsTheWholeBlocksExactly) {
    QTemporaryDir dir;
    const QString source = dir.filePath(QStringLiteral("odd.jpg"));
    writepattern(source, 61, 45, Sampling::S420); // blocks of 16 x 16: 48 x 32 of them whole
    const Pixels original = decodejpeg(source);
    const struct {
        JpegTransform op;
        Action action;
        int width, height; // what Trim keeps of the source: what would have to move is dropped
    } cases[] = {{JpegTransform::None, Action::AsIs, 61, 45},
                 {JpegTransform::Rotate90, Action::Rotate90Clockwise, 61, 32},
                 {JpegTransform::Rotate180, Action::Rotate180, 48, 32},
                 {JpegTransform::Rotate270, Action::Rotate90Counterclockwise, 48, 45},
                 {JpegTransform::FlipHorizontal, Action::FlipLeft, 48, 45}};
    for (const auto& c : cases) {
        const QString kept = dir.filePath(QStringLiteral("kept.jpg")),
                      trimmed = dir.filePath(QStringLiteral("trimmed.jpg"));
        ASSERT_TRUE(transformjpeg(readbytes(source), c.op, EdgePolicy::Keep, kept)) << int(c.op);
        ASSERT_TRUE(transformjpeg(readbytes(source), c.op, EdgePolicy::Trim, trimmed)) << int(c.op);
        const Pixels whole = turned(original, c.action);
        const Pixels keptpixels = decodejpeg(kept);
        EXPECT_EQ(QSize(keptpixels.width, keptpixels.height), QSize(whole.width, whole.height)) << int(c.op);
        Pixels cropped{c.width, c.height, {}};
        for (int y = 0; y < c.height; ++y)
            cropped.rgb.insert(cropped.rgb.end(), original.at(0, y), original.at(0, y) + c.width * 3);
        EXPECT_LE(maxdifference(decodejpeg(trimmed), turned(cropped, c.action)), idcttolerance) << int(c.op);
    }
}

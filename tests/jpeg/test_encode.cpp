#include "jpeg/encode.h"
#include "jpeg/photofixture.h"
#include "jpeg/probe.h"

#include <cstring>

using namespace pivotel;
using namespace pivotel::test;

namespace {

// A picture's rows as the encoder takes them.
class ImageRows : public RowSource {
  public:
    explicit ImageRows(QImage image) : image_(std::move(image)) {}
    int width() const override { return image_.width(); }
    int height() const override { return image_.height(); }
    QImage::Format format() const override { return image_.format(); }
    int bytesperpixel() const override { return image_.depth() / 8; }
    void copyrows(int first, int count, unsigned char* out, qsizetype stride) const override {
        for (int y = 0; y < count; ++y)
            std::memcpy(out + y * stride, image_.constScanLine(first + y), size_t(stride));
    }

  private:
    QImage image_;
};

using Encode = PhotoFolder;

} // namespace

TEST_F(Encode, WritesEveryRowOfEachFormatHalvingChromaOnlyBelowNinety) {
    const Pixels source = pattern(50, 300); // taller than the strips the encoder takes at a time
    const struct {
        QImage picture;
        int quality;
        JpegSampling sampling;
    } cases[] = {{pictureof(source).convertToFormat(QImage::Format_RGBX8888), 89, JpegSampling::S420},
                 {pictureof(source), 90, JpegSampling::S444},
                 {greypictureof(source), 50, JpegSampling::Grey}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.quality);
        EncodeSettings settings;
        settings.quality = c.quality;
        ASSERT_TRUE(encodejpeg(ImageRows(c.picture), settings, file("new.jpg")));
        EXPECT_EQ(probejpeg(file("new.jpg"))->sampling, c.sampling);
        // Encoding moves a pixel by a step or so on average; a row out of place moves it by tens.
        EXPECT_LE(meandifference(decodejpeg(file("new.jpg")), pixelsof(c.picture)), 2.0);
    }
    EXPECT_FALSE(encodejpeg(ImageRows(pictureof(source)), {}, file("missing/new.jpg")));
}

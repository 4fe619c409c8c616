#include "metadata/exiftool.h"
#include "metadata/resolutionrewrite.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

struct Upright {
    QString orientation, xresolution, yresolution;
};

// What the photo's own EXIF block says, numbers as numbers.
Upright exifsays(const QString& path) {
    return {readtag(path, QStringLiteral("IFD0:Orientation"), true),
            readtag(path, QStringLiteral("IFD0:XResolution"), true),
            readtag(path, QStringLiteral("IFD0:YResolution"), true)};
}

class Rewrite : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }

    // A photo whose EXIF block is damaged: neither the library nor the tool will write it.
    QString damaged(const QString& name) {
        const QString path = file(name);
        writepattern(path, 16, 16);
        insertsegment(path, 0xE1, QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14));
        return path;
    }

    QTemporaryDir dir;
    ExifTool tool{exiftoolpath()};
    ExifTool missing{dir.filePath(QStringLiteral("no-such-tool"))};
};

} // namespace

// Given the TIFF properties, the XMP library rewrites the photo's native EXIF tags too: with no
// tool at hand, that alone makes the photo upright.
TEST_F(Rewrite, TheXmpLibraryCarriesTheTiffPropertiesIntoTheExifBlock) {
    const QString tagged = file(QStringLiteral("tagged.jpg"));
    writetaggedphoto(tagged, 32, 24, 6, 300);
    const QString plain = file(QStringLiteral("plain.jpg"));
    writepattern(plain, 32, 24);
    writetags(plain, {QStringLiteral("-JFIF:all=")}); // nothing but the image

    const struct {
        QString path;
        qint64 dpi;
    } cases[] = {{tagged, 150}, {tagged, 300}, {plain, 72}};
    for (const auto& c : cases) {
        const auto before = alltags(c.path);
        ASSERT_TRUE(xmpupright(c.path, c.dpi)) << qPrintable(c.path);
        const Upright after = exifsays(c.path);
        const QString dpi = QString::number(c.dpi);
        EXPECT_EQ(after.orientation, QStringLiteral("1")) << qPrintable(c.path);
        EXPECT_EQ(after.xresolution, dpi) << qPrintable(c.path);
        EXPECT_EQ(after.yresolution, dpi) << qPrintable(c.path);
        const auto tags = alltags(c.path);
        for (const char* tag :
             {"IFD0:Make", "ExifIFD:ExposureTime", "ExifIFD:DateTimeOriginal", "Canon:SerialNumber",
              "ICC_Profile:ProfileDescription", "XMP-dc:Title", "IPTC:City"})
            EXPECT_EQ(tags.value(QLatin1String(tag)), before.value(QLatin1String(tag))) << tag;
        EXPECT_EQ(decodejpeg(c.path).width, 32);
    }
}

TEST_F(Rewrite, EndsUprightAndTheToolChangesNothingElse) {
    // Without the tool the resolution handed in was never read from the photo: it keeps its own.
    const struct {
        const char* name;
        ExifTool* tool;
        const char* resolution;
        bool exact; // every other tag keeps its value
    } cases[] = {{"tool", &tool, "240", true}, {"library, the tool missing", &missing, "300", false}};
    for (const auto& c : cases) {
        const QString photo = file(QString::fromLatin1(c.name) + QStringLiteral(".jpg"));
        writetaggedphoto(photo, 16, 16, 8, 300);
        writetags(photo, {QStringLiteral("-XMP-tiff:Orientation#=8")});
        const auto before = alltags(photo);

        const Status status = updatedpinonstore(*c.tool, photo, 240);
        ASSERT_TRUE(status) << c.name << ": " << status.reason().toStdString();
        const Upright after = exifsays(photo);
        EXPECT_EQ(after.orientation, QStringLiteral("1")) << c.name;
        EXPECT_EQ(after.xresolution, QLatin1String(c.resolution)) << c.name;
        EXPECT_EQ(after.yresolution, QLatin1String(c.resolution)) << c.name;
        // An orientation in the XMP packet must not say otherwise.
        EXPECT_NE(readtag(photo, QStringLiteral("XMP-tiff:Orientation"), true), QStringLiteral("8"))
            << c.name;

        if (!c.exact)
            continue;
        auto tags = alltags(photo);
        for (const char* changed :
             {"IFD0:Orientation", "IFD0:XResolution", "IFD0:YResolution", "XMP-tiff:Orientation",
              "System:FileModifyDate", "System:FileAccessDate", "System:FileInodeChangeDate"}) {
            tags.remove(QLatin1String(changed));
        }
        for (auto it = tags.begin(); it != tags.end(); ++it)
            EXPECT_EQ(it.value(), before.value(it.key())) << c.name << " " << qPrintable(it.key());
    }
}

TEST_F(Rewrite, FailsWithAReasonWhenThePhotoCantBeWritten) {
    const struct {
        const char* name;
        ExifTool* tool;
        const char* says;
    } cases[] = {
        {"tool refuses", &tool, "Format error"},
        {"library refuses, no tool", &missing, "the metadata tool is missing"},
    };
    for (const auto& c : cases) {
        const QString photo = damaged(QString::fromLatin1(c.name) + QStringLiteral(".jpg"));
        const QByteArray before = readbytes(photo);
        const Status status = updatedpinonstore(*c.tool, photo, 72);
        EXPECT_FALSE(status) << c.name;
        EXPECT_TRUE(status.reason().startsWith(QStringLiteral("the orientation tag can't be set upright: ")))
            << qPrintable(status.reason());
        EXPECT_TRUE(status.reason().contains(QLatin1String(c.says))) << qPrintable(status.reason());
        EXPECT_EQ(readbytes(photo), before) << c.name;
    }
}

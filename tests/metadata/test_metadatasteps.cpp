// The metadata steps of a turn: the EXIF transplant and the orientation and resolution rewrite.

#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "metadata/resolutionrewrite.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

class MetadataSteps : public ::testing::Test {
  protected:
    QString tagged(const QString& name, int orientation = 6) {
        writetaggedphoto(file(name), 32, 24, orientation, 300);
        return file(name);
    }
    QString plain(const QString& name, const QByteArray& exif = {}) {
        writepattern(file(name), 32, 24);
        writetags(file(name), {u"-JFIF:all="_s});
        if (!exif.isEmpty())
            insertsegment(file(name), 0xE1, exif);
        return file(name);
    }
    QString file(const QString& name) const { return dir.filePath(name); }
    // The orientation and both resolutions of the photo's own EXIF block, as numbers.
    QString upright(const QString& path) const {
        return readtag(path, u"IFD0:Orientation"_s, true) + ' '_L1 +
               readtag(path, u"IFD0:XResolution"_s, true) + ' '_L1 +
               readtag(path, u"IFD0:YResolution"_s, true);
    }

    QTemporaryDir dir, data;
    const QString pexif = data.filePath(u"pexif"_s);
    // A damaged EXIF block: neither the XMP library nor the tool will write into it.
    const QByteArray damaged = QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14);
    ExifTool tool{exiftoolpath()}, missing{dir.filePath(u"no-such-tool"_s)};
    ExifTool dying{writefaketool(dir.filePath(u"dying"_s), "kill -9 $$\n")};
};

} // namespace

TEST_F(MetadataSteps, TheTransplantCarriesTheExifGroupOfTheUntouchedPhotoAndNothingStale) {
    const QString photo = tagged(u"tagged.jpg"_s), target = plain(u"target.jpg"_s);
    ExifTransplant transplant(tool, pexif);
    ASSERT_TRUE(transplant.extractexiftofile(photo));
    EXPECT_EQ(transplant.dumpfile(), pexif + "/1.xml"_L1);
    EXPECT_TRUE(
        readbytes(transplant.dumpfile()).endsWith("</rdf:RDF>\n\n")); // the tool's text and a line end
    ASSERT_TRUE(transplant.copycr2tojpgexif(target));
    const auto before = alltags(photo), after = alltags(target);
    for (const char* tag :
         {"IFD0:Make", "IFD0:Model", "IFD0:Orientation", "IFD0:XResolution", "ExifIFD:DateTimeOriginal",
          "ExifIFD:ExposureTime", "ExifIFD:FNumber", "ExifIFD:ISO", "ExifIFD:ExposureCompensation",
          "ExifIFD:UserComment", "GPS:GPSLatitude", "GPS:GPSLongitude", "GPS:GPSAltitude"})
        EXPECT_EQ(after.value(QLatin1String(tag)), before.value(QLatin1String(tag))) << tag;
    // Only the EXIF group travels: XMP and IPTC stay behind.
    EXPECT_FALSE(after.contains(u"XMP-dc:Title"_s) || after.contains(u"IPTC:Keywords"_s));
    EXPECT_EQ(decodejpeg(target).width, 32);

    // An earlier photo's dump never reaches the next one: not when the tool is missing, not when
    // the next photo has no EXIF (finding nothing to copy is no failure).
    for (ExifTool* next : {&missing, &tool}) {
        ASSERT_TRUE(ExifTransplant(tool, pexif).extractexiftofile(photo));
        ExifTransplant transplant(*next, pexif);
        ASSERT_TRUE(transplant.extractexiftofile(plain(u"bare.jpg"_s)));
        EXPECT_EQ(QFile::exists(transplant.dumpfile()), next == &tool);
        EXPECT_TRUE(transplant.copycr2tojpgexif(plain(u"next.jpg"_s)));
        EXPECT_EQ(readtag(file(u"next.jpg"_s), u"Make"_s), QString());
    }
}

// The rotators have carried the EXIF block already: a tool that refuses the photo loses nothing,
// while one that can't run at all must not pass for done.
TEST_F(MetadataSteps, ATransplantTheToolRefusesIsNoFailureOneItCantRunIs) {
    const QString photo = tagged(u"tagged.jpg"_s), text = file(u"text.jpg"_s);
    writebytes(text, "not a photo at all");
    ExifTransplant transplant(tool, pexif);
    EXPECT_TRUE(transplant.extractexiftofile(file(u"gone.jpg"_s)));
    EXPECT_EQ(readbytes(transplant.dumpfile()), "\n"); // nothing to copy later
    ASSERT_TRUE(transplant.extractexiftofile(photo));
    EXPECT_TRUE(transplant.copycr2tojpgexif(text));
    EXPECT_EQ(readbytes(text), "not a photo at all");

    ExifTransplant broken(dying, pexif);
    EXPECT_EQ(broken.extractexiftofile(photo).reason(),
              u"the metadata dump failed: the metadata tool stopped unexpectedly"_s);
    EXPECT_EQ(broken.copycr2tojpgexif(photo).reason(),
              u"copying the EXIF block back failed: the metadata tool stopped unexpectedly"_s);
}

// Given the TIFF properties, the XMP library rewrites the photo's native EXIF tags too: with no
// tool at hand, that alone makes the photo upright.
TEST_F(MetadataSteps, TheXmpLibraryCarriesTheTiffPropertiesIntoTheExifBlock) {
    const struct {
        QString path;
        qint64 dpi;
    } cases[] = {{tagged(u"tagged.jpg"_s), 150}, {file(u"tagged.jpg"_s), 300}, {plain(u"plain.jpg"_s), 72}};
    for (const auto& c : cases) {
        const auto before = alltags(c.path);
        ASSERT_TRUE(xmpupright(c.path, c.dpi)) << qPrintable(c.path);
        EXPECT_EQ(upright(c.path), u"1 %1 %1"_s.arg(c.dpi));
        const auto after = alltags(c.path);
        for (const char* tag :
             {"IFD0:Make", "ExifIFD:ExposureTime", "ExifIFD:DateTimeOriginal", "Canon:SerialNumber",
              "ICC_Profile:ProfileDescription", "XMP-dc:Title", "IPTC:City"})
            EXPECT_EQ(after.value(QLatin1String(tag)), before.value(QLatin1String(tag))) << tag;
        EXPECT_EQ(decodejpeg(c.path).width, 32);
    }
}

TEST_F(MetadataSteps, TheRewriteEndsUprightOrFailsWithAReasonAndTheToolChangesNothingElse) {
    // Without the tool the resolution handed in was never read from the photo: it keeps its own.
    for (ExifTool* t : {&tool, &missing}) {
        const QString photo = tagged(u"photo.jpg"_s, 8);
        writetags(photo, {u"-XMP-tiff:Orientation#=8"_s});
        auto before = alltags(photo);
        ASSERT_TRUE(updatedpinonstore(*t, photo, 240));
        EXPECT_EQ(upright(photo), t == &tool ? u"1 240 240"_s : u"1 300 300"_s);
        // An orientation in the XMP packet must not say otherwise.
        EXPECT_NE(readtag(photo, u"XMP-tiff:Orientation"_s, true), u"8"_s);
        auto after = alltags(photo);
        for (const char* changes :
             {"IFD0:Orientation", "IFD0:XResolution", "IFD0:YResolution", "XMP-tiff:Orientation",
              "System:FileModifyDate", "System:FileAccessDate", "System:FileInodeChangeDate"})
            before.remove(QLatin1String(changes)), after.remove(QLatin1String(changes));
        EXPECT_EQ(t == &tool ? after : before, before);
    }
    const struct {
        ExifTool* tool;
        const char* says;
    } refusals[] = {{&tool, "Format error"}, {&missing, "the metadata tool is missing"}};
    for (const auto& c : refusals) {
        const QString photo = plain(u"damaged.jpg"_s, damaged);
        const QByteArray bytes = readbytes(photo);
        const Status status = updatedpinonstore(*c.tool, photo, 72);
        EXPECT_TRUE(status.reason().startsWith("the orientation tag can't be set upright: "_L1));
        EXPECT_TRUE(status.reason().contains(QLatin1String(c.says))) << qPrintable(status.reason());
        EXPECT_EQ(readbytes(photo), bytes);
    }
}

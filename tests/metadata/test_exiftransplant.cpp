#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "support/taggedphotos.h"
#include "support/testphotos.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Transplant : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    QString pexif() const { return data.filePath(QStringLiteral("pexif")); }

    QTemporaryDir dir, data;
    ExifTool tool{exiftoolpath()};
};

} // namespace

TEST_F(Transplant, CarriesTheExifGroupOfTheUntouchedPhotoIntoAnother) {
    const QString photo = file(QStringLiteral("tagged.jpg"));
    writetaggedphoto(photo, 32, 24, 6, 300);
    const QString target = file(QStringLiteral("bare.jpg"));
    writepattern(target, 24, 32);

    ExifTransplant transplant(tool, pexif());
    ASSERT_TRUE(transplant.extractexiftofile(photo));
    EXPECT_EQ(transplant.dumpfile(), pexif() + QStringLiteral("/1.xml"));
    const QByteArray dump = readbytes(transplant.dumpfile());
    EXPECT_TRUE(dump.contains("<rdf:RDF")) << dump.left(200).constData();
    EXPECT_TRUE(dump.endsWith("</rdf:RDF>\n\n")); // the tool's text and one more line end

    ASSERT_TRUE(transplant.copycr2tojpgexif(target));
    const auto before = alltags(photo);
    const auto after = alltags(target);
    for (const char* tag :
         {"IFD0:Make", "IFD0:Model", "IFD0:Orientation", "IFD0:XResolution", "ExifIFD:DateTimeOriginal",
          "ExifIFD:ExposureTime", "ExifIFD:FNumber", "ExifIFD:ISO", "ExifIFD:ExposureCompensation",
          "ExifIFD:UserComment", "GPS:GPSLatitude", "GPS:GPSLongitude", "GPS:GPSAltitude"}) {
        EXPECT_EQ(after.value(QLatin1String(tag)), before.value(QLatin1String(tag))) << tag;
    }
    // Only the EXIF group travels: XMP and IPTC stay behind.
    EXPECT_FALSE(after.contains(QStringLiteral("XMP-dc:Title")));
    EXPECT_FALSE(after.contains(QStringLiteral("IPTC:Keywords")));
    EXPECT_EQ(decodejpeg(target).width, 24);
}

TEST_F(Transplant, AStaleDumpNeverReachesTheNextPhoto) {
    const QString tagged = file(QStringLiteral("tagged.jpg"));
    writetaggedphoto(tagged, 16, 16, 6, 300);
    const QString bare = file(QStringLiteral("bare.jpg"));
    writepattern(bare, 16, 16);
    const QString target = file(QStringLiteral("target.jpg"));

    ExifTool missing(file(QStringLiteral("no-such-tool")));
    const struct {
        const char* name;
        ExifTool* tool;
        bool dumpwritten;
    } cases[] = {{"tool missing", &missing, false}, {"photo without EXIF", &tool, true}};
    for (const auto& c : cases) {
        ExifTransplant earlier(tool, pexif());
        ASSERT_TRUE(earlier.extractexiftofile(tagged));
        writepattern(target, 16, 16);

        ExifTransplant transplant(*c.tool, pexif());
        ASSERT_TRUE(transplant.extractexiftofile(bare)) << c.name;
        EXPECT_EQ(QFile::exists(transplant.dumpfile()), c.dumpwritten) << c.name;
        // Finding nothing to copy is no failure.
        EXPECT_TRUE(transplant.copycr2tojpgexif(target)) << c.name;
        EXPECT_EQ(readtag(target, QStringLiteral("Make")), QString()) << c.name;
    }
}

// The rotators have carried the EXIF block already: a tool that refuses the photo loses nothing,
// while one that can't run at all must not pass for done.
TEST_F(Transplant, AToolThatRefusesIsNoFailureOneThatCantRunIs) {
    const QString photo = file(QStringLiteral("tagged.jpg"));
    writetaggedphoto(photo, 16, 16, 6, 300);
    // The tool can't read a file that isn't there, nor write one that isn't an image.
    const QString gone = file(QStringLiteral("gone.jpg"));
    const QString text = file(QStringLiteral("text.jpg"));
    writebytes(text, "not a photo at all");

    ExifTransplant transplant(tool, pexif());
    EXPECT_TRUE(transplant.extractexiftofile(gone));
    EXPECT_EQ(readbytes(transplant.dumpfile()), QByteArray("\n")); // nothing to copy later
    ASSERT_TRUE(transplant.extractexiftofile(photo));
    EXPECT_TRUE(transplant.copycr2tojpgexif(text));
    EXPECT_EQ(readbytes(text), QByteArray("not a photo at all"));

    ExifTool dyingtool(writefaketool(file(QStringLiteral("dying")), "kill -9 $$\n"));
    ExifTransplant broken(dyingtool, pexif());
    const Status dumped = broken.extractexiftofile(photo);
    EXPECT_EQ(dumped.reason(),
              QStringLiteral("the metadata dump failed: the metadata tool stopped unexpectedly"));
    const Status copied = broken.copycr2tojpgexif(photo);
    EXPECT_EQ(copied.reason(),
              QStringLiteral("copying the EXIF block back failed: the metadata tool stopped unexpectedly"));
}

#include "support/taggedphotos.h"

#include "support/testphotos.h"

#include <QColorSpace>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace pivotel::test {

void writetaggedphoto(const QString& path, int width, int height, int orientation, int dpi) {
    writepattern(path, width, height);
    QTemporaryDir parts;
    const QString icc = parts.filePath(u"profile.icc"_s), makernote = parts.filePath(u"makernote.bin"_s),
                  thumbnail = parts.filePath(u"thumbnail.jpg"_s);
    writepattern(thumbnail, 32, 24); // whole blocks: every turn of it is exact
    QColorSpace profile(QColorSpace::SRgb); // one Qt writes anew, with its description
    profile.setDescription(u"Pivotel test RGB"_s);
    writebytes(icc, profile.iccProfile());
    // A Canon maker note whose values all lie within its entries (model id, serial number), so
    // that it reads the same wherever a writer moves it.
    writebytes(makernote,
               QByteArray::fromHex("0002 0010000400000001 80000213 000c000400000001 0012d687 00000000"));
    const QString wide = QString::number(width), high = QString::number(height);
    writetags(path, QStringList{"-ICC_Profile<="_L1 + icc, "-MakerNotes<="_L1 + makernote,
                                "-ThumbnailImage<="_L1 + thumbnail, "-ExifImageWidth="_L1 + wide,
                                "-ExifImageHeight="_L1 + high, "-XMP-tiff:ImageWidth="_L1 + wide,
                                "-XMP-tiff:ImageHeight="_L1 + high,
                                "-EXIF:Orientation#="_L1 + QString::number(orientation),
                                "-EXIF:XResolution="_L1 + QString::number(dpi),
                                "-EXIF:YResolution="_L1 + QString::number(dpi)} +
                        QString::fromUtf8(R"(-JFIF:all=; -EXIF:Make=Canon; -EXIF:Model=Canon EOS 5D;
        -EXIF:ResolutionUnit=inches; -EXIF:DateTimeOriginal=2021:07:14 10:11:12; -EXIF:ISO=400;
        -EXIF:CreateDate=2021:07:14 10:11:12; -EXIF:ModifyDate=2021:07:15 08:00:00; -EXIF:FNumber=5.6;
        -EXIF:ExposureTime=1/250; -EXIF:FocalLength=57.019; -EXIF:ShutterSpeedValue=1/60; -EXIF:ExposureCompensation=-2/3;
        -EXIF:Artist=A. Photographer; -EXIF:Copyright=(c) 2021 A. Photographer;
        -EXIF:UserComment=Harbour at dawn; -GPSLatitude=43.2965; -GPSLatitudeRef=N; -GPSLongitude=5.3698;
        -GPSLongitudeRef=E; -GPSAltitude=12.5; -GPSAltitudeRef=0; -XMP-dc:Title=Harbour;
        -XMP-dc:Creator=A. Photographer; -XMP-xmp:Rating=4; -XMP-lr:HierarchicalSubject=Places|Marseille;
        -IPTC:Keywords=boats; -IPTC:Keywords=sea; -IPTC:City=Marseille; -IPTC:By-line=A. Photographer)")
                            .simplified()
                            .split(u"; "_s));
}

QMap<QString, QString> alltags(const QString& path) {
    const QString json = exiftool({u"-j"_s, u"-n"_s, u"-G1"_s, u"-a"_s, u"-s"_s, u"-struct"_s, path});
    const QJsonArray files = QJsonDocument::fromJson(json.toUtf8()).array();
    if (files.size() != 1)
        throw std::runtime_error("the tool gave no tags for " + path.toStdString());
    QMap<QString, QString> tags;
    const QJsonObject object = files[0].toObject();
    for (auto it = object.begin(); it != object.end(); ++it) { // numbers as numbers, the rest as text
        const QJsonValue v = it.value();
        tags.insert(it.key(), v.isString()   ? v.toString()
                              : v.isDouble() ? QString::number(v.toDouble(), 'g', 17)
                                             : QString::fromUtf8(QJsonDocument(QJsonArray{v}).toJson()));
    }
    return tags;
}

} // namespace pivotel::test

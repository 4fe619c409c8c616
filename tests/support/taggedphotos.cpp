#include "support/taggedphotos.h"

#include "support/testphotos.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtEndian>
#include <stdexcept>

namespace pivotel::test {

namespace {

QByteArray be32(quint32 value) {
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

} // namespace

QByteArray iccprofile(const QString& description) {
    const QByteArray text = description.toLatin1();
    const std::pair<QByteArray, QByteArray> tags[] = {
        // ASCII description, then empty Unicode and ScriptCode ones
        {"desc", "desc" + be32(0) + be32(quint32(text.size() + 1)) + text + QByteArray(79, '\0')},
        {"cprt", "text" + be32(0) + "No copyright, made for a test" + '\0'},
        {"wtpt", "XYZ " + be32(0) + QByteArray::fromHex("0000f6d6000100000000d32d")},
    };
    QByteArray table = be32(quint32(std::size(tags))), data;
    for (const auto& [signature, body] : tags) {
        table += signature + be32(quint32(128 + 4 + 12 * std::size(tags) + data.size())) +
                 be32(quint32(body.size()));
        data += body + QByteArray((4 - body.size() % 4) % 4, '\0');
    }
    const QByteArray header = be32(0) + be32(0) + be32(0x02100000) + "mntrRGB XYZ " +
                              QByteArray::fromHex("07e5000100010000000000 00") + "acsp" +
                              QByteArray(28, '\0') + QByteArray::fromHex("0000f6d6000100000000d32d") +
                              QByteArray(48, '\0');
    QByteArray profile = header + table + data;
    qToBigEndian(quint32(profile.size()), profile.data());
    return profile;
}

void writetaggedphoto(const QString& path, int width, int height, int orientation, int dpi) {
    writepattern(path, width, height);
    QTemporaryDir parts;
    const QString icc = parts.filePath(QStringLiteral("profile.icc"));
    const QString makernote = parts.filePath(QStringLiteral("makernote.bin"));
    writebytes(icc, iccprofile(QStringLiteral("Pivotel test RGB")));
    // A Canon maker note whose values all lie within its entries (model id, serial number), so
    // that it reads the same wherever a writer moves it.
    writebytes(makernote,
               QByteArray::fromHex("0002 0010000400000001 80000213 000c000400000001 0012d687 00000000"));
    const QString n = QString::number(orientation), d = QString::number(dpi);
    writetags(path,
              QString::fromUtf8(
                  "-JFIF:all=\n-EXIF:Make=Canon\n-EXIF:Model=Canon EOS 5D\n-ICC_Profile<=" + icc.toUtf8() +
                  "\n-MakerNotes<=" + makernote.toUtf8() + "\n-EXIF:Orientation#=" + n.toUtf8() +
                  "\n-EXIF:XResolution=" + d.toUtf8() + "\n-EXIF:YResolution=" + d.toUtf8() +
                  "\n-EXIF:ResolutionUnit=inches\n"
                  "-EXIF:DateTimeOriginal=2021:07:14 10:11:12\n"
                  "-EXIF:CreateDate=2021:07:14 10:11:12\n-EXIF:ModifyDate=2021:07:15 08:00:00\n"
                  "-EXIF:ExposureTime=1/250\n-EXIF:FNumber=5.6\n-EXIF:ISO=400\n"
                  "-EXIF:FocalLength=35\n-EXIF:ExposureCompensation=-2/3\n"
                  "-EXIF:Artist=A. Photographer\n-EXIF:Copyright=(c) 2021 A. Photographer\n"
                  "-EXIF:UserComment=Harbour at dawn\n-GPSLatitude=43.2965\n"
                  "-GPSLatitudeRef=N\n-GPSLongitude=5.3698\n-GPSLongitudeRef=E\n"
                  "-GPSAltitude=12.5\n-GPSAltitudeRef=0\n-XMP-dc:Title=Harbour\n"
                  "-XMP-dc:Creator=A. Photographer\n-XMP-xmp:Rating=4\n"
                  "-XMP-lr:HierarchicalSubject=Places|Marseille\n-IPTC:Keywords=boats\n"
                  "-IPTC:Keywords=sea\n-IPTC:City=Marseille\n-IPTC:By-line=A. Photographer")
                  .split(QLatin1Char('\n')));
}

QMap<QString, QString> alltags(const QString& path) {
    const QString json = exiftool({QStringLiteral("-j"), QStringLiteral("-G1"), QStringLiteral("-a"),
                                   QStringLiteral("-s"), QStringLiteral("-struct"), path});
    const QJsonArray files = QJsonDocument::fromJson(json.toUtf8()).array();
    if (files.size() != 1)
        throw std::runtime_error("the tool gave no tags for " + path.toStdString());
    QMap<QString, QString> tags;
    const QJsonObject object = files[0].toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QJsonValue v = it.value();
        tags.insert(it.key(), v.isString()   ? v.toString()
                              : v.isDouble() ? QString::number(v.toDouble(), 'g', 17)
                                             : QString::fromUtf8(QJsonDocument(QJsonArray{v}).toJson()));
    }
    return tags;
}

} // namespace pivotel::test

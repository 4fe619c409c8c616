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

void append32(QByteArray& bytes, quint32 value) {
    char raw[4];
    qToBigEndian(value, raw);
    bytes.append(raw, 4);
}

void append16(QByteArray& bytes, quint16 value) {
    char raw[2];
    qToBigEndian(value, raw);
    bytes.append(raw, 2);
}

void pad4(QByteArray& bytes) {
    while (bytes.size() % 4 != 0)
        bytes.append('\0');
}

QByteArray descriptiontag(const QByteArray& text) {
    QByteArray tag("desc\0\0\0\0", 8);
    append32(tag, quint32(text.size() + 1));
    tag.append(text).append('\0');
    append32(tag, 0); // no Unicode description
    append32(tag, 0);
    append16(tag, 0); // no ScriptCode description
    tag.append('\0');
    tag.append(QByteArray(67, '\0'));
    return tag;
}

QByteArray texttag(const QByteArray& text) {
    return QByteArray("text\0\0\0\0", 8) + text + '\0';
}

QByteArray whitepointtag() {
    QByteArray tag("XYZ \0\0\0\0", 8);
    for (quint32 value : {0x0000F6D6u, 0x00010000u, 0x0000D32Du}) // D50
        append32(tag, value);
    return tag;
}

// A Canon maker note: an IFD whose values all lie within its entries (model id and serial
// number), so that it reads the same wherever a writer moves it.
QByteArray canonmakernote() {
    QByteArray note;
    append16(note, 2);
    for (const auto& [tag, value] : {std::pair<quint16, quint32>{0x0010, 0x80000213}, {0x000C, 1234567}}) {
        append16(note, tag);
        append16(note, 4); // LONG
        append32(note, 1);
        append32(note, value);
    }
    append32(note, 0);
    return note;
}

} // namespace

QByteArray iccprofile(const QString& description) {
    const QList<std::pair<QByteArray, QByteArray>> tags{
        {"desc", descriptiontag(description.toLatin1())},
        {"cprt", texttag("No copyright, made for a test")},
        {"wtpt", whitepointtag()},
    };
    QByteArray header(128, '\0');
    QByteArray table;
    append32(table, quint32(tags.size()));
    QByteArray data;
    const int datastart = 128 + 4 + 12 * int(tags.size());
    for (const auto& [signature, body] : tags) {
        table.append(signature);
        append32(table, quint32(datastart + data.size()));
        append32(table, quint32(body.size()));
        data.append(body);
        pad4(data);
    }
    QByteArray profile = header + table + data;
    auto put32 = [&profile](int at, quint32 value) {
        qToBigEndian(value, profile.data() + at);
    };
    auto putsig = [&profile](int at, const char* signature) {
        profile.replace(at, 4, signature, 4);
    };
    put32(0, quint32(profile.size()));
    put32(8, 0x02100000); // version 2.1
    putsig(12, "mntr");
    putsig(16, "RGB ");
    putsig(20, "XYZ ");
    const quint16 date[6] = {2021, 1, 1, 0, 0, 0};
    for (int i = 0; i < 6; ++i)
        qToBigEndian(date[i], profile.data() + 24 + 2 * i);
    putsig(36, "acsp");
    put32(68, 0x0000F6D6);
    put32(72, 0x00010000);
    put32(76, 0x0000D32D);
    return profile;
}

void writetaggedphoto(const QString& path, int width, int height, int orientation, int dpi) {
    writepattern(path, width, height);
    QTemporaryDir parts;
    const QString icc = parts.filePath(QStringLiteral("profile.icc"));
    const QString makernote = parts.filePath(QStringLiteral("makernote.bin"));
    writebytes(icc, iccprofile(QStringLiteral("Pivotel test RGB")));
    writebytes(makernote, canonmakernote());
    writetags(path, {
                        QStringLiteral("-JFIF:all="),
                        QStringLiteral("-ICC_Profile<=") + icc,
                        QStringLiteral("-EXIF:Make=Canon"),
                        QStringLiteral("-EXIF:Model=Canon EOS 5D"),
                        QStringLiteral("-MakerNotes<=") + makernote,
                        QStringLiteral("-EXIF:Orientation#=") + QString::number(orientation),
                        QStringLiteral("-EXIF:XResolution=") + QString::number(dpi),
                        QStringLiteral("-EXIF:YResolution=") + QString::number(dpi),
                        QStringLiteral("-EXIF:ResolutionUnit=inches"),
                        QStringLiteral("-EXIF:DateTimeOriginal=2021:07:14 10:11:12"),
                        QStringLiteral("-EXIF:CreateDate=2021:07:14 10:11:12"),
                        QStringLiteral("-EXIF:ModifyDate=2021:07:15 08:00:00"),
                        QStringLiteral("-EXIF:ExposureTime=1/250"),
                        QStringLiteral("-EXIF:FNumber=5.6"),
                        QStringLiteral("-EXIF:ISO=400"),
                        QStringLiteral("-EXIF:FocalLength=35"),
                        QStringLiteral("-EXIF:ExposureCompensation=-2/3"),
                        QStringLiteral("-EXIF:Artist=A. Photographer"),
                        QStringLiteral("-EXIF:Copyright=(c) 2021 A. Photographer"),
                        QStringLiteral("-EXIF:UserComment=Harbour at dawn"),
                        QStringLiteral("-GPSLatitude=43.2965"),
                        QStringLiteral("-GPSLatitudeRef=N"),
                        QStringLiteral("-GPSLongitude=5.3698"),
                        QStringLiteral("-GPSLongitudeRef=E"),
                        QStringLiteral("-GPSAltitude=12.5"),
                        QStringLiteral("-GPSAltitudeRef=0"),
                        QStringLiteral("-XMP-dc:Title=Harbour"),
                        QStringLiteral("-XMP-dc:Creator=A. Photographer"),
                        QStringLiteral("-XMP-xmp:Rating=4"),
                        QStringLiteral("-XMP-lr:HierarchicalSubject=Places|Marseille"),
                        QStringLiteral("-IPTC:Keywords=boats"),
                        QStringLiteral("-IPTC:Keywords=sea"),
                        QStringLiteral("-IPTC:City=Marseille"),
                        QStringLiteral("-IPTC:By-line=A. Photographer"),
                    });
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
        const QJsonValue value = it.value();
        if (value.isString())
            tags.insert(it.key(), value.toString());
        else if (value.isDouble())
            tags.insert(it.key(), QString::number(value.toDouble(), 'g', 17));
        else if (value.isArray())
            tags.insert(it.key(),
                        QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)));
        else if (value.isObject())
            tags.insert(it.key(),
                        QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact)));
        else
            tags.insert(it.key(), value.toVariant().toString());
    }
    return tags;
}

} // namespace pivotel::test

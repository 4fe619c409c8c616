#include "photolist/admission.h"
#include "photolist/labels.h"
#include "photolist/photolistmodel.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

TEST(Admission, TheTwoOptions) {
    QTemporaryDir dir;
    const QString needsturn = dir.filePath(QStringLiteral("six.jpg"));
    const QString upright = dir.filePath(QStringLiteral("one.jpg"));
    const QString noexif = dir.filePath(QStringLiteral("plain.jpg"));
    for (const QString& path : {needsturn, upright, noexif})
        writepattern(path, 16, 16);
    writetags(needsturn, {QStringLiteral("-n"), QStringLiteral("-Orientation=6")});
    writetags(upright, {QStringLiteral("-n"), QStringLiteral("-Orientation=1")});

    const struct {
        bool useexif;
        bool onlyneeded;
        QString path;
        bool added;
        QString label;
    } cases[] = {
        {true, false, needsturn, true, label::rotatecw},
        {true, false, upright, true, label::asis},
        {true, false, noexif, true, label::asis},
        {true, true, needsturn, true, label::rotatecw},
        {true, true, upright, false, QString()},
        {true, true, noexif, false, QString()},
        {false, false, needsturn, true, label::asis},
        {false, true, needsturn, true, label::asis}, // "only needed" means nothing without EXIF
        {false, true, upright, true, label::asis},
    };
    for (const auto& c : cases) {
        PhotoListModel list;
        const Admission result =
            admitphoto(list, QStringLiteral("name.jpg"), c.path, AdmissionOptions{c.useexif, c.onlyneeded});
        const QString what =
            QStringLiteral("exif=%1 only=%2 %3").arg(c.useexif).arg(c.onlyneeded).arg(c.path);
        ASSERT_EQ(list.count(), c.added ? 1 : 0) << qPrintable(what);
        EXPECT_EQ(result.verdict == Verdict::Admitted, c.added) << qPrintable(what);
        if (c.added) {
            EXPECT_EQ(list.row(0).label, c.label) << qPrintable(what);
            EXPECT_EQ(list.row(0).path, c.path);
            EXPECT_EQ(list.row(0).name, QStringLiteral("name.jpg"));
        }
    }
}

TEST(Admission, RefusesWhatIsNoJpegWhateverTheOptions) {
    QTemporaryDir dir;
    const QString text = dir.filePath(QStringLiteral("notes.jpg"));
    writebytes(text, "not a photo");
    for (const bool useexif : {true, false}) {
        PhotoListModel list;
        const Admission result = admitphoto(list, QStringLiteral("notes.jpg"), text, {useexif, false});
        EXPECT_EQ(result.verdict, Verdict::NotJpeg);
        EXPECT_EQ(list.count(), 0);
    }
}

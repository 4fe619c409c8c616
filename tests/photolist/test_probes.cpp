#include "photolist/labels.h"
#include "photolist/probes.h"
#include "support/testphotos.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Probes : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
};

} // namespace

TEST_F(Probes, OrientationGivesTheLabel) {
    const struct {
        const char* orientation; // empty: no orientation tag
        const char* byteorder;
        QString label;
    } cases[] = {
        {"1", "MM", label::asis},      {"2", "MM", label::asis}, {"3", "MM", label::rotate180},
        {"4", "II", label::asis},      {"5", "MM", label::asis}, {"6", "MM", label::rotatecw},
        {"6", "II", label::rotatecw},  {"7", "II", label::asis}, {"8", "MM", label::rotateccw},
        {"8", "II", label::rotateccw}, {"", "MM", label::asis},
    };
    int i = 0;
    for (const auto& c : cases) {
        const QString path = file(QStringLiteral("o%1.jpg").arg(i++));
        writepattern(path, 32, 16);
        QStringList tags{QStringLiteral("-ExifByteOrder=") + QLatin1String(c.byteorder),
                         QStringLiteral("-Make=Test")};
        if (*c.orientation)
            tags << QStringLiteral("-n") << QStringLiteral("-Orientation=") + QLatin1String(c.orientation);
        writetags(path, tags);
        EXPECT_EQ(getorientation(path), c.label) << "orientation " << c.orientation << " " << c.byteorder;
    }
}

TEST_F(Probes, OrientationOfFilesWithoutExifOrUnreadable) {
    writepattern(file(QStringLiteral("plain.jpg")), 16, 16);
    writebytes(file(QStringLiteral("text.jpg")), "just some text, not a photo\n");
    const struct {
        QString path;
        QString label;
    } cases[] = {
        {file(QStringLiteral("plain.jpg")), label::asis},
        {file(QStringLiteral("text.jpg")), label::fail},
        {file(QStringLiteral("missing.jpg")), label::fail},
        {dir.path(), label::fail},
    };
    for (const auto& c : cases)
        EXPECT_EQ(getorientation(c.path), c.label) << qPrintable(c.path);
}

TEST_F(Probes, IsValidReadsTheHeader) {
    const QString good = file(QStringLiteral("good.jpg"));
    writepattern(good, 40, 30);
    const QByteArray bytes = readbytes(good);

    // The frame header's height field sits 5 bytes after the SOF0 marker.
    QByteArray zeroheight = bytes;
    const qsizetype sof = zeroheight.indexOf(QByteArray("\xFF\xC0", 2));
    ASSERT_GT(sof, 0);
    zeroheight[sof + 5] = 0;
    zeroheight[sof + 6] = 0;
    QByteArray zerowidth = bytes;
    zerowidth[sof + 7] = 0;
    zerowidth[sof + 8] = 0;

    const struct {
        const char* name;
        QByteArray content;
        bool valid;
    } cases[] = {
        {"good.JPG", bytes, true},
        {"text.jpg", "hello", false},
        {"empty.jpg", QByteArray(), false},
        {"headeronly.jpg", bytes.left(20), false},
        {"zeroheight.jpg", zeroheight, false},
        {"zerowidth.jpg", zerowidth, false},
        {"png.jpg", QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(100, 'x'), false},
    };
    for (const auto& c : cases) {
        const QString path = file(QString::fromLatin1(c.name));
        writebytes(path, c.content);
        EXPECT_EQ(isvalid(path), c.valid) << c.name;
    }
    EXPECT_FALSE(isvalid(file(QStringLiteral("missing.jpg"))));
}

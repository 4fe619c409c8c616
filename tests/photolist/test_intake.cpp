#include "jpeg/photofixture.h"
#include "photolist/admission.h"
#include "photolist/folderscan.h"
#include "photolist/photolistmodel.h"

#include <QDir>

using namespace pivotel;
using namespace pivotel::test;

using Intake = PhotoFolder;

TEST_F(Intake, AdmissionFollowsTheOrientationAsTheTwoOptionsSay) {
    for (const char* name : {"six.jpg", "three.jpg", "one.jpg", "plain.jpg"})
        writepattern(file(name), 16, 16);
    writetags(file("six.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=6")});
    writetags(file("three.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=3")});
    writetags(file("one.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=1")});
    writebytes(file("text.jpg"), "not a photo");
    const struct {
        bool useexif, onlyneeded;
        const char* name;
        Verdict verdict;
        Action action;
    } cases[] = {{true, false, "six.jpg", Verdict::Admitted, Action::Rotate90Clockwise},
                 {true, false, "three.jpg", Verdict::Admitted, Action::Rotate180},
                 {true, false, "one.jpg", Verdict::Admitted, Action::AsIs},
                 {true, false, "plain.jpg", Verdict::Admitted, Action::AsIs},
                 {true, true, "six.jpg", Verdict::Admitted, Action::Rotate90Clockwise},
                 {true, true, "one.jpg", Verdict::NotNeeded, Action::AsIs},
                 {true, true, "plain.jpg", Verdict::NotNeeded, Action::AsIs},
                 {false, false, "six.jpg", Verdict::Admitted, Action::AsIs},
                 {false, true, "six.jpg", Verdict::Admitted, Action::AsIs}, // "only needed" needs EXIF
                 {false, true, "one.jpg", Verdict::Admitted, Action::AsIs},
                 {true, false, "text.jpg", Verdict::NotJpeg, Action::AsIs},
                 {false, false, "text.jpg", Verdict::NotJpeg, Action::AsIs},
                 {true, false, "missing.jpg", Verdict::NotJpeg, Action::AsIs}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << " exif " << c.useexif << " only " << c.onlyneeded);
        PhotoListModel list;
        const auto admission =
            admitphoto(list, QStringLiteral("name.jpg"), file(c.name), {c.useexif, c.onlyneeded});
        EXPECT_EQ(admission.verdict, c.verdict);
        ASSERT_EQ(list.count(), c.verdict == Verdict::Admitted ? 1 : 0);
        if (list.count() == 1) {
            EXPECT_EQ(list.row(0).action, c.action);
            EXPECT_EQ(list.row(0).name, QStringLiteral("name.jpg"));
            EXPECT_EQ(list.row(0).path, file(c.name));
        }
    }
}

class FolderScan : public PhotoFolder {
  protected:
    void SetUp() override {
        // Hidden folders are scanned, packages and other files are not, and a link back up can't loop.
        for (const char* name : {"a.jpg", "b/c.jpg", "b/d/e.jpg", "f.JPEG", "IMG_10.jpg", "IMG_2.jpg",
                                 ".hidden/g.jpg", "Viewer.app/h.jpg", "notes.txt"}) {
            QDir().mkpath(QFileInfo(file(name)).absolutePath());
            writebytes(file(name), "x");
        }
        QFile::link(dir.path(), file("b/loop"));
    }

    QStringList scan(bool recursive) const {
        QStringList seen;
        ScanCallbacks callbacks;
        callbacks.file = [&](const QString& name, const QString& path) {
            EXPECT_EQ(QFileInfo(path).fileName(), name);
            seen << QDir(dir.path()).relativeFilePath(path);
            return true;
        };
        loadrecursive(dir.path(), recursive, callbacks);
        return seen;
    }
};

TEST_F(FolderScan, DepthFirstInNumericNameOrderWithSubFoldersWhereTheyAreMet) {
    EXPECT_EQ(scan(true),
              QString(".hidden/g.jpg a.jpg b/c.jpg b/d/e.jpg f.JPEG IMG_2.jpg IMG_10.jpg").split(' '));
    EXPECT_EQ(scan(false), QString("a.jpg f.JPEG IMG_2.jpg IMG_10.jpg").split(' '));
}

TEST_F(FolderScan, EveryHundredthItemOfAFolderRefreshesWhenItIsAValidPhoto) {
    QTemporaryDir many;
    for (int i = 0; i < 250; ++i)
        writebytes(many.filePath(QStringLiteral("p%1.jpg").arg(i, 3, 10, QLatin1Char('0'))), "x");
    for (const auto& [valid, refreshes] : {std::pair{true, 2}, {false, 0}}) {
        int hundredths = 0, begins = 0, ends = 0;
        ScanCallbacks callbacks;
        callbacks.file = [valid](const QString&, const QString&) {
            return valid;
        };
        callbacks.hundredth = [&] {
            ++hundredths;
        };
        callbacks.begin = [&] {
            ++begins;
        };
        callbacks.end = [&] {
            ++ends;
        };
        loadrecursive(many.path(), true, callbacks);
        EXPECT_EQ(hundredths, refreshes) << valid;
        EXPECT_EQ(begins, 1);
        EXPECT_EQ(ends, 1);
    }
}

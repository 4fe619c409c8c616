#include "jpeg/photofixture.h"
#include "photolist/admission.h"
#include "photolist/folderscan.h"
#include "photolist/photolistmodel.h"

#include <QDir>

using namespace pivotel;
using namespace pivotel::test;

using Intake = PhotoFolder;

TEST_F(Intake, AdmissionFollowsTheOrientationAsTheTwoOptionsSay) {
    for (const char* name : {"six.jpg", "one.jpg", "plain.jpg"})
        writepattern(file(name), 16, 16);
    writetags(file("six.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=6")});
    writetags(file("one.jpg"), {QStringLiteral("-n"), QStringLiteral("-Orientation=1")});
    writebytes(file("text.jpg"), "not a photo");
    // "Only needed" means nothing without EXIF.
    const Verdict in = Verdict::Admitted, notneeded = Verdict::NotNeeded, notjpeg = Verdict::NotJpeg;
    const Action cw = Action::Rotate90Clockwise, asis = Action::AsIs;
    const struct {
        bool useexif, onlyneeded;
        const char* name;
        Verdict verdict;
        Action action;
    } cases[] = {{true, false, "six.jpg", in, cw},         {true, false, "one.jpg", in, asis},
                 {true, false, "plain.jpg", in, asis},     {true, true, "six.jpg", in, cw},
                 {true, true, "one.jpg", notneeded, asis}, {true, true, "plain.jpg", notneeded, asis},
                 {false, false, "six.jpg", in, asis},      {false, true, "six.jpg", in, asis},
                 {false, true, "one.jpg", in, asis},       {true, false, "text.jpg", notjpeg, asis},
                 {false, false, "text.jpg", notjpeg, asis}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << " exif " << c.useexif << " only " << c.onlyneeded);
        PhotoListModel list;
        EXPECT_EQ(admitphoto(list, QStringLiteral("n.jpg"), file(c.name), {c.useexif, c.onlyneeded}).verdict,
                  c.verdict);
        ASSERT_EQ(list.count(), c.verdict == Verdict::Admitted ? 1 : 0);
        if (list.count() == 1) {
            EXPECT_EQ(list.row(0).action, c.action);
            EXPECT_EQ(list.row(0).name + list.row(0).path, QStringLiteral("n.jpg") + file(c.name));
        }
    }
}

TEST_F(Intake, FolderScanGoesDepthFirstInNameOrderWithSubFoldersWhereTheyAreMet) {
    // Hidden folders are scanned, packages and other files not, and a link back up can't loop.
    for (const char* name : {"a.jpg", "b/c.jpg", "b/d/e.jpg", "f.JPEG", "IMG_10.jpe", "IMG_2.jfif",
                             ".hidden/g.jpg", "Viewer.app/h.jpg", "notes.txt", "i.jpg.png", "jjpg"}) {
        QDir().mkpath(QFileInfo(file(name)).absolutePath());
        writebytes(file(name), "x");
    }
    QFile::link(dir.path(), file("b/loop"));
    for (const auto& [recursive, expected] :
         {std::pair{true, ".hidden/g.jpg a.jpg b/c.jpg b/d/e.jpg f.JPEG IMG_2.jfif IMG_10.jpe"},
          {false, "a.jpg f.JPEG IMG_2.jfif IMG_10.jpe"}}) {
        QStringList seen;
        ScanCallbacks callbacks;
        callbacks.file = [&](const QString& name, const QString& path) {
            EXPECT_EQ(QFileInfo(path).fileName(), name);
            seen << QDir(dir.path()).relativeFilePath(path);
            return true;
        };
        loadrecursive(dir.path(), recursive, callbacks);
        EXPECT_EQ(seen.join(u' '), QLatin1String(expected));
    }
}

TEST_F(Intake, FolderScanRefreshesAtEveryHundredthItemThatIsAValidPhoto) {
    for (int i = 0; i < 250; ++i)
        writebytes(dir.filePath(QStringLiteral("p%1.jpg").arg(i, 3, 10, QLatin1Char('0'))), "x");
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
        loadrecursive(dir.path(), true, callbacks);
        EXPECT_EQ(hundredths, refreshes) << valid;
        EXPECT_EQ(begins, 1);
        EXPECT_EQ(ends, 1);
    }
}

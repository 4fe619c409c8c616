#include "jpeg/photofixture.h"
#include "photolist/admission.h"
#include "photolist/extensions.h"
#include "photolist/folderscan.h"
#include "photolist/photolistmodel.h"

#include <QDir>

using namespace pivotel;
using namespace pivotel::test;

TEST(Texts, EachActionHasOneLabelAndOneTokenReadBackIgnoringTheLabelsCaseAndTheCounterCountsPhotos) {
    // In menu order. "º" is U+00BA, the masculine ordinal indicator, not the degree sign.
    const QStringList labels =
        QString::fromUtf8("As Is|Rotate 90º Clockwise|Rotate 90º Counterclockwise|Rotate 180º|Flip Left|"
                          "Flip Upside Down|Rotate 90º Clockwise and Flip Left|"
                          "Rotate 90º Counterclockwise and Flip Left")
            .split(u'|');
    const QStringList tokens = QStringLiteral("asis cw ccw 180 flip flipv transpose transverse").split(u' ');
    EXPECT_EQ(actionlabels(), labels);
    for (size_t i = 0; i < allactions.size(); ++i) {
        EXPECT_EQ(labelof(allactions[i]), labels[i]);
        EXPECT_EQ(tokenof(allactions[i]), tokens[i]);
        EXPECT_EQ(actionforlabel(labels[i].toUpper()), allactions[i]) << qPrintable(labels[i]);
        EXPECT_EQ(actionforlabel(labels[i].toLower()), allactions[i]) << qPrintable(labels[i]);
        EXPECT_EQ(actionfortoken(tokens[i]), allactions[i]) << qPrintable(tokens[i]);
    }
    EXPECT_EQ(actionforlabel(QStringLiteral("Fail")), std::nullopt);
    EXPECT_EQ(actionforlabel(QString::fromUtf8("Rotate 90° Clockwise")), std::nullopt);
    for (const auto& [count, text] :
         {std::pair{0, "0 Photos"}, {1, "1 Photo"}, {2, "2 Photos"}, {12345, "12345 Photos"}})
        EXPECT_EQ(countertext(count), QLatin1String(text));
}

TEST(Actions, EachOrientationButOneAsksForTheActionThatMakesItUpright) {
    const QStringList expected =
        QStringLiteral("asis asis flip 180 flipv transpose cw transverse ccw asis").split(u' ');
    for (int orientation = 0; orientation < 10; ++orientation)
        EXPECT_EQ(tokenof(actionfororientation(orientation)), expected[orientation]) << orientation;
}

TEST(PhotoListModel, ShowsNameLabelAndPathUnderTheirHeaders) {
    PhotoListModel list;
    list.appendrow(QStringLiteral("a.jpg"), Action::Rotate90Clockwise, QStringLiteral("/x/a.jpg"));
    list.appendrow(QStringLiteral("a.jpg"), Action::AsIs, QStringLiteral("/x/a.jpg")); // twice is allowed
    list.setallactions(Action::FlipLeft);
    list.setaction(1, Action::Rotate180);
    list.setaction(2, Action::AsIs); // no such row: nothing happens
    QStringList shown;
    for (int row = -1; row < list.rowCount(); ++row) {
        for (int column = 0; column < list.columnCount(); ++column)
            shown << (row < 0 ? list.headerData(column, Qt::Horizontal) : list.data(list.index(row, column)))
                         .toString();
    }
    EXPECT_EQ(shown.join(u'|'),
              QString::fromUtf8("Filename|Orientation|Full Path| |a.jpg|Flip Left|/x/a.jpg||"
                                "a.jpg|Rotate 180º|/x/a.jpg|"));
}

TEST(PhotoListModel, TheFileListPacksTheRowsTheRuleTakesInOrderAndOutlivesClearing) {
    const struct {
        bool processall, lossless;
        const char* taken; // the rows taken, each named after its action
    } cases[] = {{false, true, "flip cw"},
                 {true, true, "flip cw"},
                 {false, false, "flip cw"},
                 {true, false, "asis flip asis cw"}};
    for (const auto& c : cases) {
        PhotoListModel list;
        for (const Action action : {Action::AsIs, Action::FlipLeft, Action::AsIs, Action::Rotate90Clockwise})
            list.appendrow(tokenof(action), action, QStringLiteral("/x/") + tokenof(action));
        const SelectionRule rule{c.processall, c.lossless};
        const qint64 count = list.counttodolist(rule);
        list.makelist(rule);
        list.clearlist();
        QStringList taken;
        for (const PhotoRow& row : list.filelist())
            taken << (row.name == tokenof(row.action) && row.path == QStringLiteral("/x/") + row.name
                          ? row.name
                          : QStringLiteral("?"));
        EXPECT_EQ(taken.join(u' '), QLatin1String(c.taken)) << c.processall << c.lossless;
        EXPECT_EQ(list.thelistcount(), count);
        EXPECT_EQ(count, taken.size());
        EXPECT_EQ(list.count(), 0);
    }
}

using PhotoIntake = PhotoFolder;

TEST_F(PhotoIntake, AdmissionFollowsTheOrientationAsTheTwoOptionsSay) {
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
        const Admission admission = judgephoto(file(c.name), {c.useexif, c.onlyneeded});
        EXPECT_EQ(admission.verdict, c.verdict);
        EXPECT_EQ(admission.action, c.action);
    }
}

TEST_F(PhotoIntake, FolderScanGoesDepthFirstInNameOrderWithSubFoldersWhereTheyAreMet) {
    // Hidden folders are scanned, packages and other files not, and a link back up can't loop.
    for (const char* name :
         {"a.jpg", "b/c.jpg", "b/d/e.jpg", "f.JPEG", "IMG_10.jpe", "IMG_2.jfif", ".hidden/g.jpg",
          "Viewer.app/h.jpg", "x.photoslibrary/h.jpg", "notes.txt", "i.jpg.png", "jjpg", "k.heic"}) {
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
        };
        loadrecursive(dir.path(), recursive, callbacks);
        EXPECT_EQ(seen.join(u' '), QLatin1String(expected));
    }
    // Load Files takes HEIC too; the re-encoder, what the folder scan takes.
    EXPECT_TRUE(hasextension(QStringLiteral("a.Heic"), extensions::loadfiles()));
    EXPECT_TRUE(hasextension(QStringLiteral("a.JPE"), extensions::loadpicture()));
}

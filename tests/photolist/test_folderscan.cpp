#include "photolist/folderscan.h"
#include "support/testphotos.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class FolderScan : public ::testing::Test {
  protected:
    void SetUp() override {
        // root/a.jpg, root/b/{c.jpg, d/e.jpg}, root/f.jpg, root/.hidden/g.jpg, root/Viewer.app/h.jpg,
        // root/notes.txt, root/loop -> root
        make(QStringLiteral("a.jpg"));
        make(QStringLiteral("b/c.jpg"));
        make(QStringLiteral("b/d/e.jpg"));
        make(QStringLiteral("f.JPEG"));
        make(QStringLiteral(".hidden/g.jpg"));
        make(QStringLiteral("Viewer.app/h.jpg"));
        writebytes(path(QStringLiteral("notes.txt")), "text");
        QFile::link(dir.path(), path(QStringLiteral("b/loop")));
    }

    QString path(const QString& relative) const { return dir.filePath(relative); }
    void make(const QString& relative) {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        writebytes(path(relative), "x");
    }

    QStringList scan(bool recursive) const {
        QStringList seen;
        ScanCallbacks callbacks;
        callbacks.file = [&](const QString& name, const QString& file) {
            EXPECT_EQ(QFileInfo(file).fileName(), name);
            seen << QDir(dir.path()).relativeFilePath(file);
            return true;
        };
        loadrecursive(dir.path(), recursive, callbacks);
        return seen;
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(FolderScan, WithSubFoldersDepthFirstWhereTheyAreMet) {
    // The link back to the top is followed once, down to where it would start over.
    const QStringList expected{QStringLiteral(".hidden/g.jpg"), QStringLiteral("a.jpg"),
                               QStringLiteral("b/c.jpg"), QStringLiteral("b/d/e.jpg"),
                               QStringLiteral("f.JPEG")};
    QStringList seen = scan(true);
    EXPECT_EQ(seen, expected);
}

TEST_F(FolderScan, WithoutSubFoldersOnlyTheFolderItself) {
    EXPECT_EQ(scan(false), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("f.JPEG")}));
}

TEST_F(FolderScan, NamesInNumericOrder) {
    QTemporaryDir numbered;
    for (const char* name : {"IMG_10.jpg", "IMG_2.jpg", "IMG_1.jpg"})
        writebytes(numbered.filePath(QString::fromLatin1(name)), "x");
    QStringList seen;
    ScanCallbacks callbacks;
    callbacks.file = [&](const QString& name, const QString&) {
        seen << name;
        return true;
    };
    loadrecursive(numbered.path(), true, callbacks);
    EXPECT_EQ(seen, (QStringList{QStringLiteral("IMG_1.jpg"), QStringLiteral("IMG_2.jpg"),
                                 QStringLiteral("IMG_10.jpg")}));
}

TEST_F(FolderScan, HundredthItemsOfOneFolder) {
    QTemporaryDir many;
    for (int i = 0; i < 250; ++i)
        writebytes(many.filePath(QStringLiteral("p%1.jpg").arg(i, 3, 10, QLatin1Char('0'))), "x");
    // Invalid files don't count toward a refresh, though they count as items.
    const struct {
        bool valid;
        int refreshes;
    } cases[] = {{true, 2}, {false, 0}};
    for (const auto& c : cases) {
        int refreshes = 0;
        int begins = 0, ends = 0;
        ScanCallbacks callbacks;
        callbacks.file = [&](const QString&, const QString&) {
            return c.valid;
        };
        callbacks.hundredth = [&] {
            ++refreshes;
        };
        callbacks.begin = [&] {
            ++begins;
        };
        callbacks.end = [&] {
            ++ends;
        };
        loadrecursive(many.path(), true, callbacks);
        EXPECT_EQ(refreshes, c.refreshes);
        EXPECT_EQ(begins, 1);
        EXPECT_EQ(ends, 1);
    }
}

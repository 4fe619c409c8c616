#include "look/lookbatch.h"
#include "look/picturelook.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;

namespace {

// Printed prose, as a page or a receipt shows it.
QImage textpage() {
    QImage page(1600, 1200, QImage::Format_RGB888);
    page.fill(QColor(236, 232, 224));
    QPainter painter(&page);
    QFont font(QStringLiteral("DejaVu Serif"));
    font.setPixelSize(26);
    painter.setFont(font);
    painter.setPen(QColor(30, 30, 30));
    QString prose;
    for (int i = 0; i < 12; ++i)
        prose += QStringLiteral("The quick brown fox jumps over the lazy dog, then it takes the high road "
                                "back to the hill where the old keeper holds his bright lamp. ");
    painter.drawText(QRect(100, 100, 1400, 1000), Qt::TextWordWrap, prose);
    return page;
}

// Sky over a field: broad shading and noise, nothing upright.
QImage plainscene() {
    QImage scene(1600, 1200, QImage::Format_RGB888);
    for (int y = 0; y < scene.height(); ++y) {
        for (int x = 0; x < scene.width(); ++x) {
            const int grain = (x * 7919 + y * 104729) % 23;
            scene.setPixelColor(x, y,
                                y < 700 ? QColor(120 + y / 10, 160 + y / 12, 230, 255)
                                        : QColor(60 + grain, 110 + x / 40 + grain, 40));
        }
    }
    return scene;
}

// The picture turned `turns` quarter turns counterclockwise, saved as a JPEG without EXIF: it
// needs as many clockwise turns to be upright again.
QString turnedcopy(const QImage& upright, int turns, const QString& path) {
    const QImage turned = upright.transformed(QTransform().rotate(-90.0 * turns));
    EXPECT_TRUE(turned.save(path, "JPEG", 90));
    return path;
}

} // namespace

TEST(Look, TextAndFacesAtEachTurnAreSuggestedTheirUprightAndAPlainSceneIsLeftAlone) {
    QTemporaryDir dir;
    auto look = PictureLook::open();
    ASSERT_TRUE(look) << qPrintable(look.reason());
    const QImage faces(QStringLiteral(PIVOTEL_TEST_FACES));
    ASSERT_FALSE(faces.isNull()) << "needs Debian's opencv-doc for a photo of faces";
    struct Case {
        const char* name;
        QImage picture;
        QString kind; // the cue that must suggest each turn; empty: no suggestion at any
    };
    for (const Case& c : {Case{"text", textpage(), QStringLiteral("text")},
                          Case{"faces", faces, QStringLiteral("faces")}, Case{"scene", plainscene(), {}}}) {
        for (int turns = 0; turns < 4; ++turns) {
            const QString path = dir.filePath(QStringLiteral("%1%2.jpg").arg(c.name).arg(turns));
            const LookVerdict verdict = look.value()->lookatphoto(turnedcopy(c.picture, turns, path));
            const int expected = c.kind.isEmpty() ? 0 : turns;
            EXPECT_EQ(verdict.turns, expected) << c.name << " turned " << turns;
            EXPECT_EQ(verdict.cuekind, expected == 0 ? QString() : c.kind) << c.name << " turned " << turns;
            EXPECT_EQ(verdict.cue.contains(turns == 2 ? "upright after a half turn"
                                                      : "upright after a quarter turn"),
                      expected != 0)
                << qPrintable(verdict.cue);
        }
    }
}

TEST(Look, WithoutEitherFaceModelTheCheckSaysWhichAndLooksAtNothing) {
    // Each case: the model the folder holds, and the missing one the reason must name.
    const QString quick = QStringLiteral("lbpcascades/lbpcascade_frontalface.xml");
    const QString careful = QStringLiteral("haarcascades/haarcascade_frontalface_alt2.xml");
    for (const auto& [present, missing] :
         {std::pair{QString(), quick}, std::pair{quick, careful}, std::pair{careful, quick}}) {
        QTemporaryDir folder;
        if (!present.isEmpty()) {
            QDir(folder.path()).mkpath(QFileInfo(present).path());
            ASSERT_TRUE(
                QFile::copy(QStringLiteral("/usr/share/opencv4/") + present, folder.filePath(present)));
        }
        const auto look = PictureLook::open(folder.path());
        ASSERT_FALSE(look) << qPrintable(present);
        EXPECT_TRUE(look.reason().contains(missing) && look.reason().contains("opencv-data"))
            << qPrintable(look.reason());
        qputenv("PIVOTEL_LOOK_MODELS", folder.path().toUtf8());
        int called = 0;
        const Status batch =
            lookatphotos({folder.filePath("a.jpg")}, 1, [&](qsizetype, const LookVerdict&) { ++called; });
        qunsetenv("PIVOTEL_LOOK_MODELS");
        EXPECT_EQ(batch.reason(), look.reason());
        EXPECT_EQ(called, 0);
    }
}

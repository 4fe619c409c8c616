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

// Printed prose, as a page or a receipt shows it, in letters of `size` pixels within `area`.
QImage textpage(QSize page = {1600, 1200}, int size = 26, QRect area = {100, 100, 1400, 1000}) {
    QImage paper(page, QImage::Format_RGB888);
    paper.fill(QColor(236, 232, 224));
    QPainter painter(&paper);
    QFont font(QStringLiteral("DejaVu Serif"));
    font.setPixelSize(size);
    painter.setFont(font);
    painter.setPen(QColor(30, 30, 30));
    QString prose;
    for (int i = 0; i < 12; ++i)
        prose += QStringLiteral("The quick brown fox jumps over the lazy dog, then it takes the high road "
                                "back to the hill where the old keeper holds his bright lamp. ");
    painter.drawText(area, Qt::TextWordWrap, prose);
    return paper;
}

// A list in capitals and figures, as receipts and forms print them: the tall strokes of capitals
// don't tell up from down, only the letters' shapes do, and in a typewriter face not clearly.
QImage capitals(const char* family) {
    QImage paper(1000, 1400, QImage::Format_RGB888);
    paper.fill(QColor(240, 238, 230));
    QPainter painter(&paper);
    QFont font(QString::fromLatin1(family));
    font.setPixelSize(30);
    painter.setFont(font);
    painter.setPen(QColor(50, 40, 40));
    const char* items[] = {"RICE 2KG",  "BANANAS",       "COFFEE BEANS", "TEA BAGS",
                           "MILK 1L",   "BUTTER",        "ORANGE JUICE", "PAPER TOWELS",
                           "APPLES KG", "PASTA FUSILLI", "TOMATOES",     "TOTAL"};
    painter.drawText(250, 80, QStringLiteral("CORNER MARKET, 12 HIGH STREET"));
    int y = 160;
    for (int i = 0; i < 24; ++i, y += 48)
        painter.drawText(100, y,
                         QStringLiteral("%1 %2.%3")
                             .arg(QLatin1String(items[i % 12]), -16)
                             .arg(3 + i * 7 % 20)
                             .arg(i * 37 % 100, 2, 10, QLatin1Char('0')));
    return paper;
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

// The picture in the middle of a wider frame of grass, its faces a smaller part of the whole.
QImage widened(const QImage& picture, int width) {
    QImage frame(width, width * picture.height() / picture.width(), QImage::Format_RGB888);
    frame.fill(QColor(90, 110, 70));
    QPainter(&frame).drawImage((frame.width() - picture.width()) / 2, (frame.height() - picture.height()) / 2,
                               picture);
    return frame;
}

// A page of text with a photo pasted beside it a quarter turn askew: the text and the face
// disagree, so neither may turn it.
QImage besidesideways(const QImage& photo) {
    QImage page = textpage({1000, 760}, 18, {40, 40, 430, 680});
    const QImage sideways =
        photo.transformed(QTransform().rotate(90)).scaledToHeight(700, Qt::SmoothTransformation);
    QPainter(&page).drawImage(page.width() - sideways.width() - 20, 30, sideways);
    return page;
}

// A close-up of the photo's face, filling the frame and leaning, as in a selfie.
QImage leaning(const QImage& photo, const QRect& face, double degrees) {
    QImage closeup(480, 480, QImage::Format_RGB888);
    closeup.fill(photo.pixelColor(face.topLeft()));
    QPainter painter(&closeup);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(240, 240);
    painter.rotate(degrees);
    painter.drawImage(QRectF(-260, -260, 520, 520), photo.copy(face));
    return closeup;
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
    for (const Case& c :
         {Case{"text", textpage(), QStringLiteral("text")},
          Case{"capitals", capitals("DejaVu Serif"), QStringLiteral("text")},
          Case{"typewriter", capitals("DejaVu Sans Mono"), {}}, Case{"faces", faces, QStringLiteral("faces")},
          // A black-and-white print has no skin tones to ask for; a face in
          // blue ones is not taken for one.
          Case{"grey faces", faces.convertToFormat(QImage::Format_Grayscale8), QStringLiteral("faces")},
          Case{"blue faces", faces.rgbSwapped(), {}},
          Case{"faces further away", widened(faces, 680), QStringLiteral("faces")},
          Case{"leaning close-up", leaning(faces, QRect(196, 63, 96, 96), 18), QStringLiteral("faces")},
          Case{"text beside a sideways face", besidesideways(faces.copy(120, 30, 240, 170)), {}},
          Case{"scene", plainscene(), {}}}) {
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

TEST(Look, WithoutAModelTheCheckSaysWhichAndLooksAtNothing) {
    // Each case: the face models the folder holds, whether the text model is there, and the
    // missing file and package the reason must name.
    const QString quick = QStringLiteral("lbpcascades/lbpcascade_frontalface.xml");
    const QString careful = QStringLiteral("haarcascades/haarcascade_frontalface_alt2.xml");
    const QString osd = QStringLiteral("osd.traineddata");
    struct Case {
        QStringList present;
        bool text;
        QString missing;
        const char* package;
    };
    for (const Case& c : {Case{{}, true, quick, "opencv-data"}, Case{{quick}, true, careful, "opencv-data"},
                          Case{{careful}, true, quick, "opencv-data"},
                          Case{{quick, careful}, false, osd, "tesseract-ocr-osd"}}) {
        QTemporaryDir faces, text;
        for (const QString& model : c.present) {
            QDir(faces.path()).mkpath(QFileInfo(model).path());
            ASSERT_TRUE(QFile::copy(QStringLiteral("/usr/share/opencv4/") + model, faces.filePath(model)));
        }
        if (c.text) {
            ASSERT_TRUE(QFile::copy(textmodelfolder() + QLatin1Char('/') + osd, text.filePath(osd)));
        }
        const auto look = PictureLook::open(faces.path(), text.path());
        ASSERT_FALSE(look) << qPrintable(c.missing);
        EXPECT_TRUE(look.reason().contains(c.missing) && look.reason().contains(c.package))
            << qPrintable(look.reason());
        qputenv("PIVOTEL_LOOK_MODELS", faces.path().toUtf8());
        qputenv("PIVOTEL_TEXT_MODELS", text.path().toUtf8());
        int called = 0;
        const Status batch =
            lookatphotos({faces.filePath("a.jpg")}, 1, [&](qsizetype, const LookVerdict&) { ++called; });
        qunsetenv("PIVOTEL_LOOK_MODELS");
        qunsetenv("PIVOTEL_TEXT_MODELS");
        EXPECT_EQ(batch.reason(), look.reason());
        EXPECT_EQ(called, 0);
    }
}

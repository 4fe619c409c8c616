// How well each picture cue suggests an upright (bench/look.sh). Reads lines of
// "group<TAB>turns<TAB>path" from standard input, where turns is the clockwise quarter turns
// that bring the photo upright, or "-" for a scene that holds neither faces nor text, and
// prints, for each group and cue: precision, coverage, false turns of upright photos,
// suggestions on scenes and the processor time per photo. With --draw SOURCE FOLDER COUNT it draws pages
// of text for it instead; with --receipts FOLDER COUNT photographed receipts, with --signs
// FOLDER COUNT that many street signs in each of five scripts.

#include "look/picturelook.h"

#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QRandomGenerator>
#include <QTextStream>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>

using namespace pivotel;

namespace {

struct Tally {
    int photos = 0, turnedcopies = 0, upright = 0, scenes = 0;
    int suggestions = 0, right = 0, falseupright = 0, onscenes = 0;
    double milliseconds = 0;

    void add(int expected, const LookVerdict& verdict, double ms) {
        ++photos;
        milliseconds += ms;
        if (expected < 0)
            ++scenes;
        else if (expected == 0)
            ++upright;
        else
            ++turnedcopies;
        if (!verdict.suggests())
            return;
        ++suggestions;
        if (verdict.turns == expected)
            ++right;
        if (expected == 0)
            ++falseupright;
        if (expected < 0)
            ++onscenes;
    }
};

// This thread's processor time in milliseconds: other work on a shared machine doesn't count.
double cpums() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

QString ratio(int part, int whole) {
    return whole == 0 ? QStringLiteral("-") : QString::number(double(part) / whole, 'f', 3);
}

// Pages of the prose in `source`, drawn as a camera or a scanner would see printed text: one
// or two columns, sizes from small print to headings, on a paper that isn't quite white.
int drawpages(const QString& source, const QString& folder, int count) {
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    const QStringList words = QString::fromUtf8(file.readAll()).simplified().split(QLatin1Char(' '));
    QRandomGenerator random(27);
    const QStringList families{QStringLiteral("DejaVu Sans"), QStringLiteral("DejaVu Serif"),
                               QStringLiteral("DejaVu Sans Mono")};
    qsizetype at = 0;
    for (int n = 0; n < count; ++n) {
        const bool wide = random.bounded(2) == 0;
        QImage page(wide ? 2400 : 1800, wide ? 1800 : 2400, QImage::Format_RGB888);
        const int paper = 200 + random.bounded(55);
        page.fill(QColor(paper, paper, paper - random.bounded(20)));
        QPainter painter(&page);
        QFont font(families[random.bounded(families.size())]);
        font.setPixelSize(14 + random.bounded(30));
        painter.setFont(font);
        painter.setPen(QColor(random.bounded(60), random.bounded(60), random.bounded(60)));
        const int columns = wide ? 1 + random.bounded(2) : 1;
        const int margin = 80 + random.bounded(120);
        const int width = (page.width() - 2 * margin) / columns;
        for (int c = 0; c < columns; ++c) {
            QString text;
            for (int w = 0; w < 400; ++w, at = (at + 1) % words.size())
                text += words[at] + QLatin1Char(' ');
            painter.drawText(QRect(margin + c * width, margin, width - 40, page.height() - 2 * margin),
                             Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignTop, text);
        }
        painter.end();
        page.save(QStringLiteral("%1/page%2.jpg").arg(folder).arg(n, 3, 10, QLatin1Char('0')), "JPEG", 85);
    }
    return 0;
}

// Adds a phone camera's faults to a picture: a little blur and sensor grain.
QImage asphoned(const QImage& picture, QRandomGenerator& random) {
    const QSize size = picture.size();
    QImage out = picture.scaled(size * 0.6, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .convertToFormat(QImage::Format_RGB888);
    for (int y = 0; y < out.height(); ++y) {
        uchar* line = out.scanLine(y);
        for (int x = 0; x < out.width() * 3; ++x)
            line[x] = uchar(std::clamp(int(line[x]) + int(random.bounded(25)) - 12, 0, 255));
    }
    return out;
}

// Shop receipts as a phone photographs them on a table: a narrow column of short lines in a
// till's monospaced print, set a few degrees askew, blurred and grainy.
int drawreceipts(const QString& folder, int count) {
    QRandomGenerator random(28);
    const QStringList goods{
        QStringLiteral("MILK 1L"),       QStringLiteral("BREAD"),          QStringLiteral("APPLES KG"),
        QStringLiteral("COFFEE BEANS"),  QStringLiteral("EGGS 10"),        QStringLiteral("BUTTER"),
        QStringLiteral("TOMATOES"),      QStringLiteral("RICE 2KG"),       QStringLiteral("OLIVE OIL"),
        QStringLiteral("CHEESE GOUDA"),  QStringLiteral("BANANAS"),        QStringLiteral("YOGHURT"),
        QStringLiteral("DISH SOAP"),     QStringLiteral("PAPER TOWELS"),   QStringLiteral("ORANGE JUICE"),
        QStringLiteral("Pasta Fusilli"), QStringLiteral("Dark chocolate"), QStringLiteral("Tea bags")};
    for (int n = 0; n < count; ++n) {
        QFont font(random.bounded(3) == 0 ? QStringLiteral("DejaVu Sans")
                                          : QStringLiteral("DejaVu Sans Mono"));
        font.setPixelSize(22 + random.bounded(12));
        const int line = font.pixelSize() * 3 / 2;
        const int items = 8 + random.bounded(18);
        QImage receipt(520 + random.bounded(200), (items + 14) * line, QImage::Format_RGB888);
        receipt.fill(QColor(245, 243, 236));
        QPainter painter(&receipt);
        painter.setFont(font);
        painter.setPen(QColor(40 + random.bounded(50), 40 + random.bounded(50), 50 + random.bounded(50)));
        const QRect width(30, 0, receipt.width() - 60, line);
        int y = line;
        const auto row = [&](const QString& left, const QString& right, Qt::Alignment align = Qt::AlignLeft) {
            painter.drawText(width.translated(0, y), align, left);
            if (!right.isEmpty())
                painter.drawText(width.translated(0, y), Qt::AlignRight, right);
            y += line;
        };
        row(QStringLiteral("CORNER MARKET %1").arg(n + 1), {}, Qt::AlignHCenter);
        row(QStringLiteral("12 High Street"), {}, Qt::AlignHCenter);
        row(QStringLiteral("2026-05-%1  10:%2").arg(1 + n % 28).arg(10 + n), {}, Qt::AlignHCenter);
        row(QStringLiteral("--------------------------------"), {});
        int total = 0;
        for (int i = 0; i < items; ++i) {
            const int cents = 49 + random.bounded(1500);
            total += cents;
            row(goods[random.bounded(goods.size())],
                QStringLiteral("%1.%2").arg(cents / 100).arg(cents % 100, 2, 10, QLatin1Char('0')));
        }
        row(QStringLiteral("--------------------------------"), {});
        row(QStringLiteral("TOTAL"),
            QStringLiteral("%1.%2").arg(total / 100).arg(total % 100, 2, 10, QLatin1Char('0')));
        row(QStringLiteral("CARD"), QStringLiteral("PAID"));
        row(QStringLiteral("Thank you for shopping"), {}, Qt::AlignHCenter);
        painter.end();
        // On a table, the receipt filling most of a 3:4 phone frame.
        const int height = receipt.height() * 5 / 4;
        QImage photo(height * 3 / 4, height, QImage::Format_RGB888);
        photo.fill(QColor(90 + random.bounded(60), 70 + random.bounded(40), 50 + random.bounded(30)));
        QPainter table(&photo);
        table.setRenderHint(QPainter::SmoothPixmapTransform);
        table.translate(photo.width() / 2.0, photo.height() / 2.0);
        table.rotate(random.bounded(9) - 4);
        table.drawImage(QPoint(-receipt.width() / 2, -receipt.height() / 2), receipt);
        table.end();
        asphoned(photo, random)
            .save(QStringLiteral("%1/receipt%2.jpg").arg(folder).arg(n, 3, 10, QLatin1Char('0')), "JPEG", 85);
    }
    return 0;
}

// Street signs in several scripts, on a plate of dark letters on a light ground or light on
// dark, in a street of blurred shapes, photographed by a phone.
int drawsigns(const QString& folder, int count) {
    QRandomGenerator random(29);
    struct Script {
        const char* name;
        const char* family;
        QStringList names;
    };
    const std::vector<Script> scripts{
        {"latin",
         "DejaVu Sans",
         {QStringLiteral("Main Street"), QStringLiteral("Bahnhofstrasse"), QStringLiteral("Exit"),
          QStringLiteral("Rue de la Paix"), QStringLiteral("City Centre")}},
        {"cyrillic",
         "DejaVu Sans",
         {QStringLiteral("Улица Ленина"), QStringLiteral("Выход"), QStringLiteral("Центр города"),
          QStringLiteral("Проспект Мира")}},
        {"greek",
         "DejaVu Sans",
         {QStringLiteral("Οδός Αθηνάς"), QStringLiteral("Έξοδος"), QStringLiteral("Κέντρο πόλης"),
          QStringLiteral("Πλατεία Συντάγματος")}},
        {"cjk",
         "Droid Sans Fallback",
         {QStringLiteral("出口"), QStringLiteral("中央駅"), QStringLiteral("北京路"),
          QStringLiteral("市役所前")}},
        {"arabic",
         "DejaVu Sans",
         {QStringLiteral("شارع الملك"), QStringLiteral("مخرج"), QStringLiteral("وسط المدينة"),
          QStringLiteral("ساحة التحرير")}}};
    for (const Script& script : scripts) {
        for (int n = 0; n < count; ++n) {
            QImage photo(2400, 1800, QImage::Format_RGB888);
            photo.fill(QColor(150 + random.bounded(60), 170 + random.bounded(50), 200 + random.bounded(55)));
            QPainter painter(&photo);
            for (int b = 0; b < 12; ++b) {
                const int shade = 60 + random.bounded(120);
                painter.fillRect(random.bounded(2400), 500 + random.bounded(900), 150 + random.bounded(500),
                                 1800, QColor(shade, shade - random.bounded(30), shade - random.bounded(40)));
            }
            const bool dark = n % 2 == 0; // dark letters on a light plate
            QFont font(QString::fromLatin1(script.family));
            font.setPixelSize(90 + random.bounded(70));
            painter.setFont(font);
            const int lines = 1 + random.bounded(3);
            QStringList text;
            for (int l = 0; l < lines; ++l)
                text << script.names[random.bounded(script.names.size())];
            const QRect plate(300 + random.bounded(400), 300 + random.bounded(300), 1500,
                              lines * font.pixelSize() * 3 / 2 + 80);
            painter.fillRect(plate, dark ? QColor(240, 235, 220) : QColor(20, 70 + random.bounded(60), 140));
            painter.setPen(dark ? QColor(20, 20, 20) : QColor(245, 245, 245));
            painter.drawText(plate, Qt::AlignCenter, text.join(QLatin1Char('\n')));
            painter.end();
            asphoned(photo, random)
                .save(QStringLiteral("%1/signs_%2-%3.jpg")
                          .arg(folder, QLatin1String(script.name))
                          .arg(n, 3, 10, QLatin1Char('0')),
                      "JPEG", 85);
        }
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 5 && QByteArray(argv[1]) == "--draw") {
        QGuiApplication app(argc, argv);
        return drawpages(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                         std::atoi(argv[4]));
    }
    if (argc == 4 && (QByteArray(argv[1]) == "--receipts" || QByteArray(argv[1]) == "--signs")) {
        QGuiApplication app(argc, argv);
        const QString folder = QString::fromLocal8Bit(argv[2]);
        return QByteArray(argv[1]) == "--receipts" ? drawreceipts(folder, std::atoi(argv[3]))
                                                   : drawsigns(folder, std::atoi(argv[3]));
    }
    auto opened = PictureLook::open();
    if (!opened) {
        std::fprintf(stderr, "lookbench: %s\n", qPrintable(opened.reason()));
        return 1;
    }
    PictureLook& look = *opened.value();
    std::map<QString, std::map<QString, Tally>> tallies;
    QTextStream in(stdin);
    QString line;
    while (in.readLineInto(&line)) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        if (fields.size() != 3)
            continue;
        const int expected = fields[1] == QLatin1String("-") ? -1 : fields[1].toInt();
        double start = cpums();
        const QImage picture = PictureLook::lookpicture(fields[2]);
        const double decodems = cpums() - start;
        start = cpums();
        const LookVerdict faces = look.facecue(picture);
        const double facems = cpums() - start;
        start = cpums();
        const LookVerdict text = look.textcue(picture);
        const double textms = cpums() - start;
        start = cpums();
        const LookVerdict both = look.lookatpicture(picture);
        const double bothms = cpums() - start + decodems;
        auto& group = tallies[fields[0]];
        group[QStringLiteral("faces")].add(expected, faces, facems + decodems);
        group[QStringLiteral("text")].add(expected, text, textms + decodems);
        group[QStringLiteral("both")].add(expected, both, bothms);
        if (qEnvironmentVariableIsSet("LOOKBENCH_VERBOSE"))
            std::fprintf(stderr, "%s\t%d\tfaces %d text %d both %d\t%s\n", qPrintable(fields[0]), expected,
                         faces.turns, text.turns, both.turns, qPrintable(fields[2]));
    }
    std::printf("%-10s %-5s %6s %9s %8s %9s %13s %11s %8s\n", "group", "cue", "photos", "precision",
                "coverage", "suggested", "false/upright", "on scenes", "ms/photo");
    for (const auto& [group, cues] : tallies) {
        for (const auto& [cue, t] : cues) {
            std::printf("%-10s %-5s %6d %9s %8s %9d %13s %11s %8.0f\n", qPrintable(group), qPrintable(cue),
                        t.photos, qPrintable(ratio(t.right, t.suggestions)),
                        qPrintable(ratio(t.right, t.turnedcopies)), t.suggestions,
                        qPrintable(QStringLiteral("%1/%2").arg(t.falseupright).arg(t.upright)),
                        qPrintable(QStringLiteral("%1/%2").arg(t.onscenes).arg(t.scenes)),
                        t.milliseconds / std::max(1, t.photos));
        }
    }
    return 0;
}

// How well each picture cue suggests an upright (bench/look.sh). Reads lines of
// "group<TAB>turns<TAB>path" from standard input, where turns is the clockwise quarter turns
// that bring the photo upright, or "-" for a scene that holds neither faces nor text, and
// prints, for each group and cue: precision, coverage, false turns of upright photos,
// suggestions on scenes and the processor time per photo. With --draw SOURCE FOLDER COUNT it draws pages
// of text for it instead.

#include "look/picturelook.h"

#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QRandomGenerator>
#include <QTextStream>
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

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 5 && QByteArray(argv[1]) == "--draw") {
        QGuiApplication app(argc, argv);
        return drawpages(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                         std::atoi(argv[4]));
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

// makemanual: turns the manual's Markdown into the PDF of the bundle:
//   makemanual MANUAL.md OUTPUT.pdf
// Pictures are found beside the Markdown file and drawn no wider than the text; preformatted
// lines wider than the text are set smaller until the widest fits.

#include <QAbstractTextDocumentLayout>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPdfWriter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextImageFormat>
#include <QTextLayout>
#include <cstdio>
#include <vector>

namespace {

// Text width in the document's units (a 96 dpi pixel) on an A4 page with 2 cm margins.
constexpr double textwidth = (210.0 - 40.0) / 25.4 * 96.0;

// The width inside the document's own margin, which print() keeps on every side.
double innerwidth(const QTextDocument& document) {
    return textwidth - 2 * document.documentMargin();
}

// Loads each picture the text names and fits its width to the text.
bool addpictures(QTextDocument& document, const QString& folder) {
    std::vector<std::pair<int, QTextImageFormat>> pictures;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextImageFormat format = it.fragment().charFormat().toImageFormat();
            if (format.isValid())
                pictures.emplace_back(it.fragment().position(), format);
        }
    }
    for (auto& [position, format] : pictures) {
        const QImage image(folder + QLatin1Char('/') + format.name());
        if (image.isNull()) {
            std::fprintf(stderr, "makemanual: can't read the picture %s\n", qPrintable(format.name()));
            return false;
        }
        document.addResource(QTextDocument::ImageResource, QUrl(format.name()), image);
        const double width = std::min<double>(image.width(), innerwidth(document));
        format.setWidth(width);
        format.setHeight(width * image.height() / image.width());
        QTextCursor cursor(&document);
        cursor.setPosition(position);
        cursor.setPosition(position + 1, QTextCursor::KeepAnchor);
        cursor.setCharFormat(format);
    }
    return true;
}

// The widest line of a block as laid out, from the text's left edge.
double widestline(const QTextBlock& block) {
    double widest = 0;
    const QTextLayout* layout = block.layout();
    for (int i = 0; layout && i < layout->lineCount(); ++i) {
        const QTextLine line = layout->lineAt(i);
        widest = std::max(widest, layout->position().x() + line.x() + line.naturalTextWidth());
    }
    return widest;
}

// Each run of preformatted blocks (a code block, whose lines don't wrap) is set in one smaller
// size where its widest line would pass the right margin, so that its columns stay aligned.
void fitpreformatted(QTextDocument& document) {
    document.setTextWidth(textwidth);
    document.documentLayout()->documentSize(); // lays the text out
    const double room = innerwidth(document) - document.documentMargin();
    std::vector<QTextBlock> run;
    double widest = 0;
    const auto shrink = [&] {
        if (widest > room) {
            const double factor = room / widest * 0.98;
            for (const QTextBlock& block : run) {
                for (auto it = block.begin(); !it.atEnd(); ++it) {
                    QTextCharFormat format = it.fragment().charFormat();
                    format.setFontPointSize(format.font().pointSizeF() * factor);
                    QTextCursor cursor(&document);
                    cursor.setPosition(it.fragment().position());
                    cursor.setPosition(it.fragment().position() + it.fragment().length(),
                                       QTextCursor::KeepAnchor);
                    cursor.setCharFormat(format);
                }
            }
        }
        run.clear();
        widest = 0;
    };
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (!block.blockFormat().nonBreakableLines()) {
            shrink();
            continue;
        }
        run.push_back(block);
        widest = std::max(widest, widestline(block));
    }
    shrink();
}

} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() != 3) {
        std::fprintf(stderr, "usage: makemanual MANUAL.md OUTPUT.pdf\n");
        return 2;
    }
    QFile source(args[1]);
    if (!source.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "makemanual: can't read %s\n", qPrintable(args[1]));
        return 1;
    }
    QTextDocument document;
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(10.5);
    document.setDefaultFont(font);
    document.setMarkdown(QString::fromUtf8(source.readAll()));
    if (!addpictures(document, QFileInfo(args[1]).absolutePath()))
        return 1;
    fitpreformatted(document);

    QPdfWriter pdf(args[2]);
    pdf.setTitle(QStringLiteral("Pivotel Manual"));
    pdf.setCreator(QStringLiteral("Pivotel"));
    pdf.setPageSize(QPageSize(QPageSize::A4));
    pdf.setResolution(300);
    document.print(&pdf);
    if (!QFileInfo(args[2]).isFile() || QFileInfo(args[2]).size() == 0) {
        std::fprintf(stderr, "makemanual: can't write %s\n", qPrintable(args[2]));
        return 1;
    }
    return 0;
}

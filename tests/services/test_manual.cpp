#include "services/helpmanual.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;

// The menu's test sees this file handed to the desktop.
TEST(HelpManual, TheBundleHoldsThePdfBuiltFromTheManualWithEverySection) {
    QFile pdf(helpmanualfile(QStringLiteral(PIVOTEL_TEST_RESOURCES)));
    ASSERT_TRUE(pdf.open(QIODevice::ReadOnly)) << qPrintable(pdf.fileName());
    const QByteArray bytes = pdf.readAll();
    EXPECT_TRUE(bytes.startsWith("%PDF-") && bytes.trimmed().endsWith("%%EOF"));

    QProcess text;
    text.start(QStringLiteral("pdftotext"), {pdf.fileName(), QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(60000) && text.exitCode() == 0);
    const QString shown = QString::fromUtf8(text.readAllStandardOutput())
                              .replace(QRegularExpression(QStringLiteral("\\s+")), QStringLiteral(" "));
    QFile source(QStringLiteral(PIVOTEL_TEST_MANUAL_SOURCE));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    const QRegularExpression heading(QStringLiteral("^#+ (.+)$"), QRegularExpression::MultilineOption);
    int titles = 0;
    for (const QRegularExpressionMatch& title : heading.globalMatch(QString::fromUtf8(source.readAll()))) {
        EXPECT_TRUE(shown.contains(title.captured(1).trimmed())) << qPrintable(title.captured(1));
        ++titles;
    }
    EXPECT_GE(titles, 8);
}

TEST(HelpManual, NoPageHasTextPastItsRightMargin) {
    QTemporaryDir folder;
    QProcess render;
    render.start(QStringLiteral("pdftoppm"),
                 {QStringLiteral("-r"), QStringLiteral("40"), QStringLiteral("-gray"),
                  helpmanualfile(QStringLiteral(PIVOTEL_TEST_RESOURCES)),
                  folder.filePath(QStringLiteral("page"))});
    ASSERT_TRUE(render.waitForFinished(60000) && render.exitCode() == 0);
    const QStringList pages =
        QDir(folder.path()).entryList({QStringLiteral("page*")}, QDir::Files, QDir::Name);
    ASSERT_GE(pages.size(), 3);
    for (const QString& name : pages) {
        const QImage page(folder.filePath(name));
        ASSERT_FALSE(page.isNull()) << qPrintable(name);
        // A4 with 2 cm margins: the text ends 190 mm from the left edge.
        const int margin = page.width() * 190 / 210 + 1;
        int rightmost = 0;
        for (int y = 0; y < page.height(); ++y) {
            for (int x = page.width() - 1; x > rightmost; --x) {
                if (qGray(page.pixel(x, y)) < 128)
                    rightmost = x;
            }
        }
        EXPECT_LE(rightmost, margin) << qPrintable(name);
    }
}

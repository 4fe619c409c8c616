#include "services/helpmanual.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
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

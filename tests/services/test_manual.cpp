#include "services/desktop.h"
#include "services/helpmanual.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;

namespace {

const QString resources = QStringLiteral(PIVOTEL_TEST_RESOURCES);

struct NotedDesktop : Desktop {
    QList<QUrl> opened;
    void openurl(const QUrl& url) override { opened << url; }
};

QString words(QString text) {
    return text.replace(QRegularExpression(QStringLiteral("\\s+")), QStringLiteral(" "));
}

} // namespace

TEST(HelpManual, TheBundleHoldsThePdfBuiltFromTheManualWithEverySection) {
    QFile pdf(helpmanualfile(resources));
    ASSERT_TRUE(pdf.open(QIODevice::ReadOnly)) << qPrintable(pdf.fileName());
    const QByteArray bytes = pdf.readAll();
    EXPECT_TRUE(bytes.startsWith("%PDF-"));
    EXPECT_TRUE(bytes.trimmed().endsWith("%%EOF"));

    QProcess text;
    text.start(QStringLiteral("pdftotext"), {pdf.fileName(), QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(60000));
    ASSERT_EQ(text.exitCode(), 0) << text.readAllStandardError().toStdString();
    const QString shown = words(QString::fromUtf8(text.readAllStandardOutput()));

    QFile source(QStringLiteral(PIVOTEL_TEST_MANUAL_SOURCE));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly | QIODevice::Text));
    int titles = 0;
    for (const QString& line : QString::fromUtf8(source.readAll()).split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1Char('#')))
            continue;
        const QString title = line.section(QLatin1Char(' '), 1).trimmed();
        EXPECT_TRUE(shown.contains(title)) << qPrintable(title);
        ++titles;
    }
    EXPECT_GE(titles, 8);
}

// The menu's test sees the bundle's manual handed over; a missing one is no error.
TEST(HelpManual, AMissingManualOpensNothing) {
    NotedDesktop desktop;
    QTemporaryDir empty;
    openhelpmanual(desktop, empty.path());
    EXPECT_TRUE(desktop.opened.isEmpty());
}

// pivotel-cli end to end: a real process over a temporary folder of photos.

#include "support/jpegstructure.h"
#include "support/testphotos.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;

namespace {

struct CliResult {
    int exitcode = -1;
    QString out;
    QString err;
};

class Cli : public ::testing::Test {
  protected:
    void SetUp() override {
        // top/{six,eight,three,one,plain}.jpg, top/notes.jpg (text), top/sub/six.jpg
        for (const auto& [name, orientation] :
             std::initializer_list<std::pair<const char*, const char*>>{{"six.jpg", "6"},
                                                                        {"eight.jpg", "8"},
                                                                        {"three.jpg", "3"},
                                                                        {"one.jpg", "1"},
                                                                        {"sub/six.jpg", "6"}}) {
            const QString path = top(QString::fromLatin1(name));
            QDir().mkpath(QFileInfo(path).absolutePath());
            writepattern(path, 48, 32);
            writetags(path,
                      {QStringLiteral("-n"), QStringLiteral("-Orientation=") + QLatin1String(orientation)});
        }
        writepattern(top(QStringLiteral("plain.jpg")), 48, 32);
        writebytes(top(QStringLiteral("notes.jpg")), "not a photo");
        for (const QString& name : QDir(dir.path()).entryList(QDir::Files))
            before[name] = readbytes(top(name));
    }

    QString top(const QString& name) const { return dir.filePath(name); }

    CliResult run(const QStringList& arguments) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), data.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(PIVOTEL_CLI), arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    bool unchanged(const QString& name) const { return readbytes(top(name)) == before.value(name); }

    QTemporaryDir dir, data;
    QMap<QString, QByteArray> before;
};

} // namespace

TEST_F(Cli, TurnsByOrientationAndLeavesTheRestByteForByte) {
    const CliResult result = run({QStringLiteral("--json"), dir.path()});
    EXPECT_EQ(result.exitcode, 1) << qPrintable(result.err); // notes.jpg is no photo
    EXPECT_TRUE(result.err.contains(QStringLiteral("notes.jpg: not a readable JPEG photo")))
        << qPrintable(result.err);

    const struct {
        const char* name;
        int width, height;
    } turnedphotos[] = {
        {"six.jpg", 32, 48}, {"eight.jpg", 32, 48}, {"three.jpg", 48, 32}, {"sub/six.jpg", 32, 48}};
    for (const auto& t : turnedphotos) {
        const Pixels pixels = decodejpeg(top(QString::fromLatin1(t.name)));
        EXPECT_EQ(pixels.width, t.width) << t.name;
        EXPECT_EQ(pixels.height, t.height) << t.name;
        EXPECT_TRUE(isprogressive(top(QString::fromLatin1(t.name)))) << t.name;
    }
    for (const char* name : {"one.jpg", "plain.jpg", "notes.jpg"})
        EXPECT_TRUE(unchanged(QString::fromLatin1(name))) << name;

    const QJsonObject report = QJsonDocument::fromJson(result.out.toUtf8()).object();
    EXPECT_EQ(report[QStringLiteral("counts")][QStringLiteral("turned")].toInt(), 4);
    EXPECT_EQ(report[QStringLiteral("counts")][QStringLiteral("skipped")].toInt(), 2);
    EXPECT_EQ(report[QStringLiteral("counts")][QStringLiteral("failed")].toInt(), 1);
    const QJsonArray failed = report[QStringLiteral("failed")].toArray();
    ASSERT_EQ(failed.size(), 1);
    EXPECT_EQ(failed[0][QStringLiteral("path")].toString(), top(QStringLiteral("notes.jpg")));
}

TEST_F(Cli, ExitCodes) {
    const QString six = top(QStringLiteral("six.jpg"));
    const QString missing = top(QStringLiteral("nowhere"));
    const struct {
        QStringList arguments;
        int exitcode;
        const char* says; // on standard error
    } cases[] = {
        {{}, 2, "no photo or folder given"},
        {{QStringLiteral("--frobnicate"), six}, 2, "unknown option"},
        {{QStringLiteral("--reencode"), QStringLiteral("--quality=101"), six}, 2, "from 10 to 100"},
        {{QStringLiteral("--quality=80"), six}, 2, "--quality needs --reencode"},
        {{QStringLiteral("--process-all"), six}, 2, "--process-all needs --reencode"},
        {{missing}, 2, "no such file or folder"},
        {{top(QStringLiteral("notes.jpg"))}, 2, "not a readable JPEG"},
        {{top(QStringLiteral("one.jpg"))}, 0, "Turned 0 photos, skipped 1"},
        {{six, missing}, 1, "nowhere: no such file or folder"},
        {{six}, 0, "Turned 0 photos, skipped 1"}, // upright now: a second run leaves it alone
        {{top(QStringLiteral("eight.jpg"))}, 0, "Turned 1 photo"},
    };
    for (const auto& c : cases) {
        const CliResult result = run(c.arguments);
        EXPECT_EQ(result.exitcode, c.exitcode) << qPrintable(c.arguments.join(QLatin1Char(' ')));
        EXPECT_TRUE(result.err.contains(QLatin1String(c.says))) << qPrintable(result.err);
    }
}

TEST_F(Cli, DryRunChangesNothing) {
    const CliResult result = run({QStringLiteral("--dry-run"), QStringLiteral("--no-recursive"), dir.path()});
    EXPECT_EQ(result.exitcode, 1);
    for (const QString& name : before.keys())
        EXPECT_TRUE(unchanged(name)) << qPrintable(name);
    const QStringList lines = result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), 3) << qPrintable(result.out); // six, eight, three; not sub/six
    EXPECT_TRUE(
        result.out.contains(QStringLiteral("Rotate 90\u00BA Clockwise\t") + top(QStringLiteral("six.jpg"))));
    EXPECT_FALSE(result.out.contains(QStringLiteral("sub")));
}

TEST_F(Cli, OneActionForEveryPhoto) {
    const CliResult result = run(
        {QStringLiteral("--action=180"), top(QStringLiteral("one.jpg")), top(QStringLiteral("plain.jpg"))});
    EXPECT_EQ(result.exitcode, 0) << qPrintable(result.err);
    EXPECT_FALSE(unchanged(QStringLiteral("one.jpg")));
    EXPECT_FALSE(unchanged(QStringLiteral("plain.jpg")));

    const CliResult asis = run({QStringLiteral("--action=asis"), top(QStringLiteral("six.jpg"))});
    EXPECT_EQ(asis.exitcode, 0);
    EXPECT_TRUE(unchanged(QStringLiteral("six.jpg")));
}

TEST_F(Cli, PathsWithBlanksQuotesAndAccents) {
    const QString odd = top(QStringLiteral("Été 'à' \"la\" plage -1.jpg"));
    writepattern(odd, 48, 32);
    writetags(odd, {QStringLiteral("-n"), QStringLiteral("-Orientation=8")});
    const CliResult result = run({QStringLiteral("--"), odd});
    EXPECT_EQ(result.exitcode, 0) << qPrintable(result.err);
    EXPECT_EQ(decodejpeg(odd).width, 32);
}

TEST_F(Cli, PreserveDatesKeepsTheModificationTime) {
    const QDateTime old(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);
    const struct {
        const char* name;
        QStringList options;
        bool kept;
    } cases[] = {{"six.jpg", {QStringLiteral("--preserve-dates")}, true}, {"eight.jpg", {}, false}};
    for (const auto& c : cases) {
        const QString path = top(QString::fromLatin1(c.name));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(old, QFileDevice::FileModificationTime));
        file.close();

        const CliResult result = run(c.options + QStringList{path});
        EXPECT_EQ(result.exitcode, 0) << qPrintable(result.err);
        EXPECT_FALSE(unchanged(QString::fromLatin1(c.name))) << c.name;
        EXPECT_EQ(QFileInfo(path).lastModified() == old, c.kept) << c.name;
    }
}

TEST_F(Cli, ReencodesByOrientation) {
    const CliResult result = run({QStringLiteral("--reencode"), QStringLiteral("--quality=100"), dir.path()});
    EXPECT_EQ(result.exitcode, 1) << qPrintable(result.err); // notes.jpg is no photo
    EXPECT_TRUE(result.err.contains(QStringLiteral("Re-encoded 4 photos, skipped 2, failed 1")))
        << qPrintable(result.err);
    for (const char* name : {"six.jpg", "eight.jpg", "three.jpg", "sub/six.jpg"}) {
        const QString path = top(QString::fromLatin1(name));
        const JpegStructure structure = jpegstructure(path);
        EXPECT_EQ(structure.frame, 0xC0) << name; // re-encoded baseline, not turned losslessly
        EXPECT_EQ(structure.quantdc.at(0), 1) << name;
    }
    EXPECT_EQ(decodejpeg(top(QStringLiteral("six.jpg"))).width, 32);
    EXPECT_EQ(decodejpeg(top(QStringLiteral("three.jpg"))).width, 48);
    for (const char* name : {"one.jpg", "plain.jpg", "notes.jpg"})
        EXPECT_TRUE(unchanged(QString::fromLatin1(name))) << name;
}

TEST_F(Cli, ProcessAllReencodesEveryPhoto) {
    const QString one = top(QStringLiteral("one.jpg"));
    const QString plain = top(QStringLiteral("plain.jpg"));
    const QString six = top(QStringLiteral("six.jpg"));
    const Pixels plainbefore = decodejpeg(plain);
    const CliResult result = run({QStringLiteral("--reencode"), QStringLiteral("--process-all"),
                                  QStringLiteral("--quality=10"), QStringLiteral("--json"), one, plain, six});
    EXPECT_EQ(result.exitcode, 0) << qPrintable(result.err);
    const QJsonObject report = QJsonDocument::fromJson(result.out.toUtf8()).object();
    EXPECT_EQ(report[QStringLiteral("counts")][QStringLiteral("turned")].toInt(), 3);
    EXPECT_EQ(report[QStringLiteral("counts")][QStringLiteral("skipped")].toInt(), 0);
    for (const QString& path : {one, plain, six})
        EXPECT_EQ(jpegstructure(path).quantdc.at(0), 80) << qPrintable(path); // quality 10
    // "As Is" photos keep their shape; quality 10 blurs, a turn would move the picture.
    const Pixels plainafter = decodejpeg(plain);
    EXPECT_EQ(plainafter.width, 48);
    EXPECT_EQ(decodejpeg(one).width, 48);
    EXPECT_LT(maxdifference(plainafter, plainbefore),
              maxdifference(plainafter, turned(plainbefore, Action::Rotate180)));
    EXPECT_EQ(decodejpeg(six).width, 32);
}

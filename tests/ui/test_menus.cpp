#include "services/desktop.h"
#include "services/updatecheck.h"
#include "support/appidentity.h"
#include "support/testphotos.h"
#include "ui/aboutwindow.h"
#include "ui/menus.h"
#include "windowtest.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <optional>

using namespace pivotel;
using namespace pivotel::test;

namespace {

const QString resources = QStringLiteral(PIVOTEL_TEST_RESOURCES);

class Menu : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        menus = new Menus(*window, dialogs, desktop, resources);
    }
    QAction* item(const char* name) const { return window->findChild<QAction*>(QLatin1String(name)); }
    QString text(const char* name) const {
        return menus->about().findChild<QLabel*>(QLatin1String(name))->text();
    }

    NotedDesktop desktop;
    Menus* menus = nullptr; // the window's
};

const QString uptodate = QStringLiteral("You are currently up to date");
const QString unreachable =
    QStringLiteral("Our Update Server cannot be reached at the moment. Please try again later");

QString offer(const QByteArray& version) {
    return QStringLiteral("There is an Updated Version %1 available. Do You Want to Download It Now ?")
        .arg(QString::fromLatin1(version));
}

} // namespace

TEST_F(Menu, HoldsItsItemsInOrder) {
    QStringList shown;
    for (QAction* title : window->menuBar()->actions()) {
        shown << title->menu()->objectName() + QLatin1Char(' ') + title->text();
        for (QAction* entry : title->menu()->actions())
            shown << (entry->isSeparator() ? QStringLiteral("  -") : QStringLiteral("  ") + entry->text());
    }
    const QStringList expected{"UntitledMenu1 File",
                               "  Load Files",
                               "  Load Folders",
                               "EditMenu &Edit",
                               "  &Undo",
                               "  -",
                               "  Cu&t",
                               "  &Copy",
                               "  &Paste",
                               "  &Delete",
                               "  -",
                               "  Select &All",
                               "WindowMenu Window",
                               "  Minimize",
                               "  -",
                               "  " + window->windowTitle().trimmed(),
                               "FileMenu &Help",
                               "  &Quit",
                               "  About Pivotel",
                               "  Help Manual",
                               "  -",
                               "  Check for Updates"};
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(item("CheckforUpdatesItem")->isVisible(), !forappstore);
}

TEST_F(Menu, DuringARunLoadFilesAddsRowsTheRunLeavesAndLoadFoldersDoesNothing) {
    writephoto(dir.filePath(QStringLiteral("a.jpg")), 48, 32, 6);
    QDir(dir.path()).mkdir(QStringLiteral("later"));
    const QString later = dir.filePath(QStringLiteral("later/b.jpg"));
    writephoto(later, 48, 32, 6);
    const QByteArray b = readbytes(later);
    loadfolder(dir.path(), false);
    HeldRun held;
    press("start");
    ASSERT_TRUE(QTest::qWaitFor([&] { return rowcounter() == QStringLiteral("Rotating a.jpg"); }, 60000));

    item("FileLoadFolders")->trigger(); // a folder dialog would fail the script
    dialogs.files.push_back({later});
    item("FileLoadFiles")->trigger();
    settle();
    EXPECT_EQ(rows(), (QStringList{"a.jpg|Rotate 90º Clockwise", "b.jpg|Rotate 90º Clockwise"}));
    held.release();
    ASSERT_TRUE(waitforendofrun());
    EXPECT_EQ(decodejpeg(dir.filePath(QStringLiteral("a.jpg"))).width, 32);
    EXPECT_EQ(readbytes(later), b);
}

TEST_F(Menu, EditActsOnTheControlInFocus) {
    tick("uselosslessrotation"); // the quality field takes text only for a re-encoding run
    QLineEdit* field = qualityfield();
    field->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return field->hasFocus(); }));
    for (const char* name : {"EditSelectAll", "EditCut"})
        item(name)->trigger();
    EXPECT_EQ(field->text(), QString());
    for (const char* name : {"EditPaste", "EditPaste", "EditUndo"})
        item(name)->trigger();
    EXPECT_EQ(field->text(), QStringLiteral("75"));

    writephoto(dir.filePath(QStringLiteral("a.jpg")));
    writephoto(dir.filePath(QStringLiteral("b.jpg")));
    loadfolder(dir.path(), false);
    auto* list = window->findChild<QTableView*>(QStringLiteral("Listbox1"));
    list->selectRow(0);
    list->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return list->hasFocus(); }));
    item("EditClear")->trigger();
    EXPECT_EQ(rows(), QStringList{"b.jpg|As Is"});
    EXPECT_EQ(rowcounter(), QStringLiteral("1 Photo"));
    EXPECT_TRUE(QFile::exists(dir.filePath(QStringLiteral("a.jpg"))));
}

TEST_F(Menu, AboutShowsTheYearOfEachOpeningAndHidesOnAClickAndHelpOpensTheManual) {
    int year = 2030;
    AboutWindow& about = menus->about();
    about.setclock([&] { return QDate(year, 12, 31); });
    item("FileAbout")->trigger();
    ASSERT_TRUE(about.isVisible());
    EXPECT_EQ(about.size(), QSize(296, 280));
    EXPECT_EQ(text("version"), QStringLiteral("v ") + versiontext());
    EXPECT_EQ(text("Label2"), QStringLiteral("Copyright © 2030 Zenthori Apps"));
    // The bundle's App.icns, read back.
    EXPECT_FALSE(about.findChild<QLabel*>(QStringLiteral("ImageMBS1"))->pixmap().isNull());

    QTest::mouseClick(&about, Qt::LeftButton, {},
                      about.findChild<QLabel*>(QStringLiteral("Label3"))->geometry().center());
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl(QStringLiteral("https://") + AboutWindow::website())});
    EXPECT_TRUE(about.isVisible());
    QTest::mouseClick(&about, Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_FALSE(about.isVisible());
    year = 2031;
    item("FileAbout")->trigger();
    EXPECT_TRUE(about.isVisible());
    EXPECT_EQ(text("Label2"), QStringLiteral("Copyright © 2031 Zenthori Apps"));

    desktop.opened.clear();
    item("menuOnlineHelp")->trigger();
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl::fromLocalFile(resources + QStringLiteral("/pivotel.pdf"))});
}

TEST_F(Menu, UpdateCheckAnswersFromTheServerWithoutHoldingTheWindow) {
    // An HTTPS server with a certificate of its own, and a port that never answers; it ends when
    // its input closes, or is killed with the QProcess.
    QTemporaryDir folder;
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(QStringLiteral("python3"), {QStringLiteral(PIVOTEL_TEST_VERSIONSERVER), folder.path()});
    while (!server.canReadLine() && server.waitForReadyRead(30000)) {
    }
    const QStringList ports = QString::fromLatin1(server.readLine()).trimmed().split(QLatin1Char(' '));
    ASSERT_EQ(ports.size(), 2);
    const auto url = [&](const QString& name, int port) {
        return QStringLiteral("https://127.0.0.1:%1/%2").arg(ports[port], name);
    };
#ifdef Q_PROCESSOR_ARM
    const QString download = url(QStringLiteral("download/pivotel-arm64.deb"), 0);
#else
    const QString download = url(QStringLiteral("download/pivotel-amd64.deb"), 0);
#endif
    // Against the program's own version, e.g. 3.6.4: the same, and one newer as a number but
    // older as text (3.16).
    const QByteArray same = versiontext().toLatin1();
    const QByteArray newer =
        same.left(same.indexOf('.')) + '.' + QByteArray::number(same.split('.').value(1).toInt() + 10);
    const struct {
        QByteArray body;
        bool verbose;
        std::optional<bool> yes; // the answer to the offer, when one is made
        QStringList told;
        QString offered;
        int port = 0;
        bool trusted = true;
    } cases[] = {
        {"99.0", true, true, {}, offer("99.0")},
        {newer, true, false, {}, offer(newer)},
        {" \t99.1\r\n", false, false, {}, offer("99.1")},
        {same, true, {}, {uptodate}, {}},
        {"0.9.9", true, {}, {uptodate}, {}},
        {same + ".0", true, {}, {uptodate}, {}},
        {"google", true, {}, {unreachable}, {}},
        {"99.0 beta", true, {}, {unreachable}, {}},
        {same, false, {}, {}, {}},
        {"<html><body>Sign in to this network</body></html>", true, {}, {unreachable}, {}},
        {"<html><body>Sign in to this network</body></html>", false, {}, {}, {}},
        {"", true, {}, {unreachable}, {}},
        {"99." + QByteArray(5000, '1'), true, {}, {unreachable}, {}},
        {"99.0", true, {}, {unreachable}, {}, 0, false}, // a certificate nobody vouches for
        {"99.0", true, {}, {unreachable}, {}, 1},        // a server that never answers
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << n);
        const QString name = QStringLiteral("v%1.txt").arg(n++);
        writebytes(folder.filePath(name), c.body);
        qputenv("PIVOTEL_UPDATE_URL", url(name, c.port).toUtf8());
        qputenv("PIVOTEL_UPDATE_CA", c.trusted ? folder.filePath(QStringLiteral("cert.pem")).toUtf8() : "");
        dialogs.told.clear();
        dialogs.questions.clear();
        desktop.opened.clear();
        if (c.yes)
            dialogs.answers.push_back(*c.yes);
        QSignalSpy answered(&menus->updatecheck(), &UpdateCheck::answered);
        c.verbose ? item("CheckforUpdatesItem")->trigger() : menus->checkforupdates(false);
        // The window goes on while the server thinks.
        EXPECT_TRUE(dialogs.told.isEmpty() && dialogs.questions.empty());
        ASSERT_TRUE(answered.wait(60000));
        EXPECT_EQ(dialogs.told, c.told);
        EXPECT_EQ(dialogs.questions.empty() ? QString() : dialogs.questions.back().message, c.offered);
        EXPECT_EQ(desktop.opened, c.yes.value_or(false) ? QList<QUrl>{QUrl(download)} : QList<QUrl>{});
    }
}

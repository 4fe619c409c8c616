#include "services/updatecheck.h"
#include "support/appidentity.h"
#include "ui/aboutwindow.h"
#include "windowtest.h"

#include <QMenuBar>
#include <QProcess>
#include <QSignalSpy>
#include <optional>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Menu : public WindowTest {
  protected:
    QString text(const char* name) const { return menus->about().findChild<QLabel*>(name)->text(); }
};

} // namespace

TEST_F(Menu, HoldsItsItemsInOrder) {
    QStringList shown;
    for (QAction* title : window->menuBar()->actions()) {
        shown << title->menu()->objectName() + ':' + title->text();
        for (QAction* entry : title->menu()->actions())
            shown << (entry->isSeparator() ? "-" : entry->text());
    }
    EXPECT_EQ(shown.join('|'), "UntitledMenu1:File|Load Files|Load Folders|EditMenu:&Edit|&Undo|-|Cu&t|&Copy|"
                               "&Paste|&Delete|-|Select &All|WindowMenu:Window|Minimize|-|" +
                                   window->windowTitle().trimmed() +
                                   "|FileMenu:&Help|&Quit|About Pivotel|Help Manual|-|Check for Updates");
    EXPECT_EQ(item("CheckforUpdatesItem")->isVisible(), !forappstore);
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
    EXPECT_EQ(field->text(), "75");

    load({{"a.jpg"}, {"b.jpg"}});
    list()->selectRow(0);
    list()->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return list()->hasFocus(); }));
    item("EditClear")->trigger();
    EXPECT_EQ(rows(), QStringList{"b.jpg|As Is"});
    EXPECT_EQ(rowcounter(), "1 Photo");
    EXPECT_TRUE(QFile::exists(path("a.jpg")));
}

TEST_F(Menu, AboutShowsTheYearOfEachOpeningAndHidesOnAClickAndHelpOpensTheManual) {
    int year = 2030;
    AboutWindow& about = menus->about();
    about.setclock([&] { return QDate(year, 12, 31); });
    item("FileAbout")->trigger();
    ASSERT_TRUE(about.isVisible());
    EXPECT_EQ(about.size(), QSize(296, 280));
    EXPECT_EQ(text("version"), "v " + versiontext());
    EXPECT_EQ(text("Label2"), "Copyright © 2030 Zenthori Apps");
    // The bundle's App.icns, read back.
    EXPECT_FALSE(about.findChild<QLabel*>("ImageMBS1")->pixmap().isNull());

    QTest::mouseClick(&about, Qt::LeftButton, {}, about.findChild<QLabel*>("Label3")->geometry().center());
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl("https://" + AboutWindow::website())});
    EXPECT_TRUE(about.isVisible());
    QTest::mouseClick(&about, Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_FALSE(about.isVisible());
    year = 2031;
    item("FileAbout")->trigger();
    EXPECT_TRUE(about.isVisible());
    EXPECT_EQ(text("Label2"), "Copyright © 2031 Zenthori Apps");

    desktop.opened.clear();
    item("menuOnlineHelp")->trigger();
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl::fromLocalFile(PIVOTEL_TEST_RESOURCES "/pivotel.pdf")});
}

TEST_F(Menu, UpdateCheckAnswersFromTheServerWithoutHoldingTheWindow) {
    // An HTTPS server with a certificate of its own, and a port that never answers; it ends when
    // its input closes, or is killed with the QProcess.
    QTemporaryDir folder;
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start("python3", {PIVOTEL_TEST_VERSIONSERVER, folder.path()});
    while (!server.canReadLine() && server.waitForReadyRead(30000)) {
    }
    const QStringList ports = QString(server.readLine()).trimmed().split(' ');
    ASSERT_EQ(ports.size(), 2);
    const auto url = [&](const QString& name, int port) {
        return QStringLiteral("https://127.0.0.1:%1/%2").arg(ports[port], name);
    };
    const QString download = url(QSysInfo::buildCpuArchitecture() == "arm64" ? "download/pivotel-arm64.deb"
                                                                             : "download/pivotel-amd64.deb",
                                 0);
    // Against the program's own version, e.g. 3.6.4: the same, and one newer as a number but
    // older as text (3.16).
    const QByteArray same = versiontext().toLatin1();
    const QByteArray newer =
        same.left(same.indexOf('.')) + '.' + QByteArray::number(same.split('.').value(1).toInt() + 10);
    const QByteArray page = "<html><body>Sign in to this network</body></html>";
    const QString uptodate = "You are currently up to date";
    const QString unreachable = "Our Update Server cannot be reached at the moment. Please try again later";
    const struct {
        QByteArray body;
        bool verbose;
        QString said;                 // the version offered when there is an answer, else the message told
        std::optional<bool> yes = {}; // the answer to the offer
        int server = 0;               // 1: one that never answers, 2: a certificate nobody vouches for
    } cases[] = {
        {"99.0", true, "99.0", true},
        {newer, true, newer, false},
        {" \t99.1\r\n", false, "99.1", false},
        {same, true, uptodate},
        {"0.9.9", true, uptodate},
        {same + ".0", true, uptodate},
        {"google", true, unreachable},
        {"99.0 beta", true, unreachable},
        {same, false, {}},
        {page, true, unreachable},
        {page, false, {}},
        {"", true, unreachable},
        {"99." + QByteArray(5000, '1'), true, unreachable},
        {"99.0", true, unreachable, {}, 2},
        {"99.0", true, unreachable, {}, 1},
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << n);
        const QString name = QStringLiteral("v%1.txt").arg(n++);
        writebytes(folder.filePath(name), c.body);
        qputenv("PIVOTEL_UPDATE_URL", url(name, c.server == 1).toUtf8());
        qputenv("PIVOTEL_UPDATE_CA", c.server == 2 ? "" : folder.filePath("cert.pem").toUtf8());
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
        EXPECT_EQ(dialogs.told, c.yes || c.said.isEmpty() ? QStringList() : QStringList{c.said});
        EXPECT_EQ(dialogs.questions.empty() ? QString() : dialogs.questions.back().message,
                  c.yes ? "There is an Updated Version " + c.said +
                              " available. Do You Want to Download It Now ?"
                        : QString());
        EXPECT_EQ(desktop.opened, c.yes.value_or(false) ? QList<QUrl>{QUrl(download)} : QList<QUrl>{});
    }
}

#include "app/app.h"
#include "services/updatecheck.h"
#include "support/appidentity.h"
#include "support/killedrewrite.h"
#include "support/places.h"
#include "ui/aboutwindow.h"
#include "ui/maintoolbar.h"
#include "windowtest.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QMenuBar>
#include <QProcess>
#include <QSignalSpy>
#include <QSplitter>
#include <QTabWidget>
#include <optional>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Window : public WindowTest {
  protected:
    // The options as shown: each box ticked or not, in the panel's order; the field; the slider;
    // and each quality control (slider, field, re-encode box, label) free or greyed.
    QString options() const {
        QString shown;
        for (const char* name : boxes)
            shown += checkbox(name)->isChecked() ? '1' : '0';
        shown += ' ' + qualityfield()->text() + ' ' + QString::number(slider()->value()) + ' ';
        for (QWidget* control : std::initializer_list<QWidget*>{
                 slider(), qualityfield(), checkbox("normalprocessall"), child("lbljpegquality")})
            shown += control->isEnabled() ? '1' : '0';
        // The odd sizes policy, free only for lossless turns.
        const auto* oddsizes = child<QComboBox>("oddsizes");
        return shown + ' ' + oddsizes->currentText() + (oddsizes->isEnabled() ? '1' : '0');
    }
    static constexpr const char* boxes[] = {"useexiforientation", "onlyloadwhenneeded", "uselosslessrotation",
                                            "normalprocessall", "preserveDATES"};
};
using Menu = WindowTest;

} // namespace

TEST_F(Window, OpensAsDesignedWithTheOptionsOfAFirstLaunch) {
    EXPECT_EQ(window->windowTitle(), "Pivotel v3.6.4 ");
    EXPECT_EQ(rowcounter(), "0 Photos");
    EXPECT_FALSE(child<QWidget>("ProgressWheel1")->isVisible());
    EXPECT_EQ(child<QTabWidget>("TabPanel1")->tabText(0), "Preferences");
    QStringList buttons; // left to right, each with its text as tip and an icon
    for (const QAction* a : window->toolbar()->actions()) {
        if (!a->text().isEmpty())
            buttons << a->objectName() + ':' + a->text() +
                           (a->toolTip() == a->text() && !a->icon().isNull() ? "" : "?");
    }
    EXPECT_EQ(buttons.join('|'), "loadfiles:Load Files|loadfolders:Load Folders|start:Start|loadstart:Load + "
                                 "Start|clearlist:Clear List");
    QStringList captions{child("lbljpegquality")->text(), child("lbloddsizes")->text()};
    for (int i = 0; i < child<QComboBox>("oddsizes")->count(); ++i)
        captions << child<QComboBox>("oddsizes")->itemText(i);
    for (const char* name : boxes)
        captions << checkbox(name)->text();
    EXPECT_EQ(captions,
              QStringList({"JPEG Quality %", "Odd Sizes", "Trim", "Re-encode", "Keep",
                           "Use EXIF (Camera Settings) Orientation",
                           "Only Load Photos That Needs to be Rotated", "Use Lossless Rotation",
                           "Process All Photos on the List (Normal Rotation)", "Preserve File Dates"}));
    EXPECT_EQ(options(), "10100 75 75 0000 Trim1");
}

TEST_F(Window, LayoutHoldsAtEverySize) {
    window->resize(300, 200);
    QTest::qWait(0);
    EXPECT_GE(window->centralWidget()->width(), 912);
    EXPECT_GE(window->centralWidget()->height(), 549);
    for (const char* name : boxes) {
        const QCheckBox* box = checkbox(name);
        EXPECT_GE(box->width(), box->sizeHint().width()) << name;
        EXPECT_GE(box->parentWidget()->width(), box->geometry().right()) << name;
    }
    EXPECT_GE(qualityfield()->parentWidget()->width(), qualityfield()->geometry().right());

    // Growing widens the list; the right side keeps its width; Clear List stays in the middle.
    auto* splitter = child<QSplitter>("WindowSplitter1");
    for (const int grow : {300, 900}) {
        const QList<int> before = splitter->sizes();
        window->resize(window->width() + grow, window->height());
        QTest::qWait(0);
        EXPECT_EQ(splitter->sizes(), QList<int>({before[0] + grow, before[1]}));
        const QWidget* clear = window->toolbar()->widgetForAction(item("clearlist"));
        EXPECT_NEAR(clear->geometry().center().x(), window->toolbar()->width() / 2, 2) << grow;
    }
}

TEST_F(Window, ClosingAsksAfterStoringTheOptionsWhichTheNextLaunchShows) {
    child<QComboBox>("oddsizes")->setCurrentText("Keep");
    for (const char* name : boxes) // each away from its default
        tick(name);
    qualityfield()->setText("64");
    dialogs.during = [] {
        EXPECT_EQ(loadsettings(), Settings({true, true, true, false, false, "64", OddSizes::Keep}));
    };
    dialogs.answers = {false, true};
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].message + dialogs.questions[0].yes + dialogs.questions[0].no,
              "Did You Want to Exit ?YesNo");
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());
    // The label, built greyed, follows the lossless box only once that changes.
    openwindow();
    EXPECT_EQ(options(), "01011 64 64 1110 Keep0");
}

TEST_F(Window, LosslessGreysTheQualityControlsWhichKeepTheirValuesAndFollowEachOther) {
    tick("uselosslessrotation");
    EXPECT_EQ(options(), "10000 75 75 1111 Trim0");
    tick("normalprocessall");
    slider()->setFocus();
    slider()->setValue(42);
    EXPECT_EQ(qualityfield()->text(), "42");
    QTest::keyClick(slider(), Qt::Key_PageUp);
    tick("uselosslessrotation");
    EXPECT_EQ(options(), "10110 62 62 0000 Trim1");

    // The field moves the slider while it holds a number inside the range, and is held to the
    // range on leaving.
    tick("uselosslessrotation");
    const struct {
        const char* typed;
        int whiletyping;   // the slider while the field has focus (-1: not looked at)
        const char* shown; // the field and the slider once left
    } cases[] = {
        {"42", 42, "42"},   {"10", 75, "10"},   {"100", 75, "100"}, {"11", 11, "11"},   {"abc", 75, "70"},
        {"150", 15, "100"}, {"55.9", 55, "55"}, {"9", 75, "10"},    {"101", 75, "100"}, {"", 75, "70"},
        {"-3", 75, "10"},   {"1e2", -1, "100"}, {" 60 ", -1, "60"}, {"9.99", -1, "10"}, {"0", 75, "10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.typed << '"');
        slider()->setValue(75);
        qualityfield()->setFocus(); // typed as a user does: focus in, select all, type
        qualityfield()->selectAll();
        QTest::keyClick(qualityfield(), Qt::Key_Delete);
        QTest::keyClicks(qualityfield(), c.typed);
        if (c.whiletyping != -1) {
            EXPECT_EQ(slider()->value(), c.whiletyping);
        }
        checkbox("preserveDATES")->setFocus();
        EXPECT_EQ(qualityfield()->text() + ' ' + QString::number(slider()->value()),
                  c.shown + (' ' + QString(c.shown)));
    }
}

TEST(App, StartsWithItsDataFolderCleanAndItsWindowShown) {
    // A killed run leaves its lock file and its working file, which goes, a metadata dump, and in
    // another slot a hard-linked photo half rewritten, which is finished.
    ensurefolder(datafolder());
    QDir().mkpath(pexiffolder());
    for (const char* name : {"/xtemp.lock", "/xtemp.jpg", "/pexif/1.xml"})
        writebytes(datafolder() + name, "x");
    QTemporaryDir linked;
    writepattern(linked.filePath("p.jpg"), 48, 32);
    const QByteArray fresh = killedinplacerewrite(linked.filePath("p.jpg"), datafolder(), 3).second;
    ScriptedDialogs dialogs;
    NotedDesktop desktop;
    // Paths given to the program go onto the list as a drop of them would.
    QTemporaryDir folder;
    writepattern(folder.filePath("a.jpg"), 8, 8);
    App app(dialogs, desktop, {folder.path(), "no-such.jpg"}, true);
    EXPECT_EQ(readbytes(linked.filePath("p.jpg")), fresh);
    EXPECT_EQ(QDir(datafolder()).entryList(QDir::Files), QStringList({"xtemp.lock", "xtemp4.lock"}));
    EXPECT_EQ(QDir(pexiffolder()).entryList(QDir::Files), QStringList());
    EXPECT_TRUE(app.mainmodule().forappstore()); // the flavour the program was built as
    EXPECT_TRUE(QTest::qWaitFor([&] { return app.mainmodule().photolist().count() == 1; }));
    EXPECT_FALSE(QFileInfo::exists(datafolder() + "/xtemp.jpg"));
    EXPECT_TRUE(app.mainmodule().isVisible());
    EXPECT_NE(app.mainmodule().findChild<QAction*>("CheckforUpdatesItem"), nullptr);
    EXPECT_FALSE(QApplication::windowIcon().isNull());
    EXPECT_EQ(QCoreApplication::applicationName() + ' ' + QCoreApplication::applicationVersion(),
              "Pivotel 3.6.4");
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
}

TEST_F(Menu, HoldsItsItemsInOrder) {
    QStringList shown;
    for (QAction* title : window->menuBar()->actions()) {
        shown << title->menu()->objectName() + ':' + title->text();
        for (QAction* entry : title->menu()->actions())
            shown << (entry->isSeparator() ? "-" : entry->text());
    }
    // The keys the manual lists for the File menu, each for one entry.
    QStringList keys;
    for (QAction* entry : window->menuBar()->actions().first()->menu()->actions()) {
        for (const QKeySequence& key : entry->shortcuts())
            keys << key.toString();
    }
    EXPECT_EQ(keys.join(' '), "Ctrl+O Ctrl+Shift+O Ctrl+R Ctrl+Shift+R Ctrl+Shift+Backspace Esc Ctrl+.");
    EXPECT_EQ(shown.join('|'), "UntitledMenu1:File|Load Files|Load Folders|-|Start|Load + Start|Clear "
                               "List|Stop|EditMenu:&Edit|&Undo|-|Cu&t|&Copy|"
                               "&Paste|&Delete|-|Select &All|WindowMenu:Window|Minimize|-|" +
                                   window->windowTitle().trimmed() +
                                   "|FileMenu:&Help|&Quit|About Pivotel|Help Manual|-|Check for Updates");
    EXPECT_TRUE(item("CheckforUpdatesItem")->isVisible());
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
    EXPECT_EQ(rows(), "b.jpg:asis");
    EXPECT_EQ(rowcounter(), "1 Photo");
    EXPECT_TRUE(QFile::exists(path("a.jpg")));
}

TEST_F(Menu, AboutShowsTheYearOfEachOpeningAndHidesOnAClickAndHelpOpensTheManual) {
    int year = 2030;
    AboutWindow& about = menus->about();
    about.setclock([&] { return QDate(year, 12, 31); });
    item("FileAbout")->trigger();
    ASSERT_TRUE(about.isVisible());
    const auto text = [&](const char* name) {
        return about.findChild<QLabel*>(name)->text();
    };
    EXPECT_EQ(text("version"), "v " + versiontext());
    EXPECT_EQ(text("Label2"), "Copyright © 2030 Zenthori Apps");
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
    // An HTTPS server with a certificate of its own, and a port that never answers.
    QTemporaryDir folder;
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start("python3", {PIVOTEL_TEST_VERSIONSERVER, folder.path()});
    while (!server.canReadLine() && server.waitForReadyRead(30000)) {
    }
    const QStringList ports = QString(server.readLine()).trimmed().split(' ');
    ASSERT_EQ(ports.size(), 3);
    const auto url = [&](const QString& name, int port) {
        return QStringLiteral("https://127.0.0.1:%1/%2").arg(ports[port], name);
    };
    const QString download = url(QSysInfo::buildCpuArchitecture() == "arm64" ? "download/pivotel-arm64.deb"
                                                                             : "download/pivotel-amd64.deb",
                                 0);
    // Against the program's own version, e.g. 3.6.4: the same, and one newer but older as text (3.16).
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
        const char* answer = "";      // another status than 200 (see versionserver.py)
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
        // Only a 200 is an answer: not a redirect's body, nor a redirect off HTTPS, nor no content.
        {"99.0.0", true, unreachable, {}, 0, "?status=302"},
        {"99.0.0", true, unreachable, {}, 0, "?status=302&to=http"},
        {"99.0.0", true, "99.0.0", true, 0, "?status=301&to=https"},
        {"99.0.0", true, unreachable, {}, 0, "?status=204"},
        {"99.0.0", true, unreachable, {}, 0, "?status=203"},
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << n);
        const QString name = QStringLiteral("v%1.txt").arg(n++);
        writebytes(folder.filePath(name), c.body);
        qputenv("PIVOTEL_UPDATE_URL", (url(name, c.server == 1) + c.answer).toUtf8());
        qputenv("PIVOTEL_UPDATE_CA", c.server == 2 ? "" : folder.filePath("cert.pem").toUtf8());
        dialogs = ScriptedDialogs();
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

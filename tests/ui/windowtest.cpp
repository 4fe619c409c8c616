#include "windowtest.h"

#include "support/places.h"
#include "support/testphotos.h"
#include "ui/maintoolbar.h"

#include <QFile>
#include <QTest>
#include <fcntl.h>
#include <sys/file.h>

namespace pivotel::test {

void writephoto(const QString& path, int width, int height, int orientation) {
    writepattern(path, width, height);
    if (orientation == 0)
        return;
    // A big-endian TIFF structure with one IFD of one entry: Orientation (0x0112), SHORT, 1.
    QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 24);
    exif.append(char(0)).append(char(orientation)).append(6, '\0');
    insertsegment(path, 0xE1, exif);
}

namespace {
template <typename T> T next(std::deque<T>& script, const char* what) {
    if (script.empty()) {
        ADD_FAILURE() << "a " << what << " that the script didn't expect";
        return {};
    }
    T answer = script.front();
    script.pop_front();
    return answer;
}
} // namespace

QStringList ScriptedDialogs::choosefiles(QWidget*, const QString& title, const QString& folder,
                                         const QStringList& types) {
    filetitles << title;
    startfolders << folder;
    filetypes.push_back(types);
    return next(files, "file dialog");
}

QString ScriptedDialogs::choosefolder(QWidget*, const QString& prompt, const QString& folder) {
    folderprompts << prompt;
    startfolders << folder;
    return next(folders, "folder dialog");
}

bool ScriptedDialogs::ask(QWidget*, const Question& question) {
    questions.push_back(question);
    if (whileasking)
        std::exchange(whileasking, nullptr)();
    return next(answers, "question");
}

void ScriptedDialogs::tell(QWidget*, const QString& message) {
    told << message;
    if (whiletelling)
        std::exchange(whiletelling, nullptr)();
}

HeldRun::HeldRun() {
    ensurefolder(datafolder());
    lock_ = UniqueFd(::open(QFile::encodeName(datafolder() + QStringLiteral("/xtemp.lock")).constData(),
                            O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(::flock(lock_.get(), LOCK_EX), 0);
}

void WindowTest::SetUp() {
    QFile::remove(settingslocation());
    openwindow();
}

void WindowTest::openwindow() {
    window.reset();
    window = std::make_unique<MainModule>(dialogs, store);
    window->show();
    // Focus moves, and leaving a field is seen, only in the active window.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

QAction* WindowTest::action(const char* identifier) const {
    QAction* found = window->toolbar()->item(QLatin1String(identifier));
    EXPECT_NE(found, nullptr) << identifier;
    return found;
}

void WindowTest::press(const char* identifier) {
    QTest::mouseClick(window->toolbar()->widgetForAction(action(identifier)), Qt::LeftButton);
}

void WindowTest::tick(const char* name) {
    QCheckBox* box = checkbox(name);
    const bool before = box->isChecked();
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    EXPECT_NE(box->isChecked(), before) << name;
}

QStringList WindowTest::rows() const {
    QStringList all;
    const PhotoListModel& model = window->photolist();
    for (qint64 r = 0; r < model.count(); ++r)
        all << model.row(r).name + QLatin1Char('|') + labelof(model.row(r).action);
    return all;
}

void WindowTest::loadfolder(const QString& folder, bool subfolders) {
    dialogs.folders.push_back(folder);
    dialogs.answers.push_back(subfolders);
    press("loadfolders");
    settle();
}

void WindowTest::settle() const {
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->idle(); }, 60000));
}

void WindowTest::pressrow(int row) {
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                      list()->visualRect(list()->model()->index(row, 0)).center());
    settle();
}

bool WindowTest::waitforendofrun() {
    const qsizetype before = dialogs.told.size();
    return QTest::qWaitFor([&] { return dialogs.told.size() > before; }, 120000);
}

bool WindowTest::waitforstatus(const QString& text) const {
    return QTest::qWaitFor([&] { return rowcounter() == text; }, 60000);
}

} // namespace pivotel::test

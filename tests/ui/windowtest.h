#pragma once

#include "app/settingsstore.h"
#include "engine/inplacerewrite.h"
#include "engine/photorewrite.h"
#include "services/desktop.h"
#include "support/places.h"
#include "support/testphotos.h"
#include "support/uniquefd.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"
#include "ui/menus.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <deque>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

namespace pivotel::test {

// Answers the window's dialogs from a script and notes what was asked. A dialog that the
// script didn't expect fails the test and is answered as cancelled.
struct ScriptedDialogs : Dialogs {
    std::deque<QStringList> files;
    std::deque<QString> folders;
    std::deque<bool> answers;
    std::deque<std::optional<int>> picks; // pop-up menus: the entry chosen, none to dismiss
    std::deque<bool> grants;              // folder panels: the default button pressed or not
    QStringList menus;                    // each pop-up's entries, joined by '|', "(greyed)" after
    std::function<void()> during;         // run inside the next question or message
    QStringList opened;                   // "title|start folder|types" of each chooser
    std::vector<Question> questions;
    QStringList told;
    std::vector<FolderPanel> panels;

    QStringList choosefiles(QWidget*, const QString& title, const QString& folder,
                            const QStringList& types) override {
        opened << title + '|' + folder + '|' + types.join(',');
        return next(files, "file dialog");
    }
    QString choosefolder(QWidget*, const QString& prompt, const QString& folder) override {
        opened << prompt + '|' + folder;
        return next(folders, "folder dialog");
    }
    bool grantfolder(QWidget*, const FolderPanel& panel) override {
        panels.push_back(panel);
        return next(grants, "folder panel");
    }
    bool ask(QWidget*, const Question& question) override {
        questions.push_back(question);
        if (during)
            std::exchange(during, nullptr)();
        return next(answers, "question");
    }
    void tell(QWidget*, const QString& message) override {
        told << message;
        if (during)
            std::exchange(during, nullptr)();
    }
    std::optional<int> popup(QWidget*, const QStringList& items, QPoint, bool enabled) override {
        menus << items.join('|') + (enabled ? "" : "(greyed)");
        return next(picks, "pop-up menu");
    }
    template <typename T> static T next(std::deque<T>& script, const char* what) {
        EXPECT_FALSE(script.empty()) << "a " << what << " that the script didn't expect";
        const T answer = script.empty() ? T() : script.front();
        if (!script.empty())
            script.pop_front();
        return answer;
    }
};

// Notes what the program hands to the browser or a viewer, and opens nothing.
struct NotedDesktop : Desktop {
    QList<QUrl> opened;
    void openurl(const QUrl& url) override { opened << url; }
};

// A photo of the test pattern for the test's folder, with an EXIF orientation (0: no EXIF).
struct Photo {
    const char* name;
    int orientation = 0;
    QSize size{48, 32};
};

// A window with its menus opened as at a launch, on the settings stored so far, driven through
// its controls.
class WindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        QFile::remove(settingslocation());
        openwindow();
    }
    void openwindow() {
        window.reset();
        window = std::make_unique<MainModule>(dialogs, store, forappstore);
        menus = new Menus(*window, dialogs, desktop, PIVOTEL_TEST_RESOURCES);
        window->show();
        // Focus moves, and leaving a field is seen, only in the active window.
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    // Writes the photo (without the metadata tool, too slow for many) and returns its path.
    QString photo(const Photo& photo) const {
        const QString file = path(photo.name);
        QDir().mkpath(QFileInfo(file).absolutePath());
        writepattern(file, photo.size.width(), photo.size.height());
        // A big-endian TIFF structure with one IFD of one entry: Orientation (0x0112), SHORT, 1.
        QByteArray exif("Exif\0\0MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01", 24);
        if (photo.orientation != 0)
            insertsegment(file, 0xE1, exif.append(char(0)).append(char(photo.orientation)).append(6, '\0'));
        return file;
    }
    // Writes the photos and loads the test's folder through Load Folders, without sub folders.
    void load(std::initializer_list<Photo> photos) {
        for (const Photo& one : photos)
            photo(one);
        loadfolder(dir.path(), false);
    }
    template <typename T = QLabel> T* child(const QString& name) const {
        T* found = window->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << qPrintable(name);
        return found;
    }
    QAction* item(const char* name) const { return child<QAction>(name); }
    void press(const QString& identifier) { // a toolbar button, with the mouse
        QTest::mouseClick(child<QWidget>(identifier + "button"), Qt::LeftButton);
    }
    QCheckBox* checkbox(const char* name) const { return child<QCheckBox>(name); }
    void tick(const char* name) { // clicks a check box on its box
        const bool before = checkbox(name)->isChecked();
        QTest::mouseClick(checkbox(name), Qt::LeftButton, {}, QPoint(8, checkbox(name)->height() / 2));
        EXPECT_NE(checkbox(name)->isChecked(), before) << name;
    }
    QSlider* slider() const { return child<QSlider>("qualityslider"); }
    QLineEdit* qualityfield() const { return child<QLineEdit>("jpgquality"); }
    QTableView* list() const { return child<QTableView>("Listbox1"); }
    QString rowcounter() const { return child("rowcounter")->text(); }
    QString rows() const { // "name:action name:action", each action by its token ("cw", "asis", ...)
        QStringList all;
        for (qint64 r = 0; r < window->photolist().count(); ++r)
            all << window->photolist().row(r).name + ':' + tokenof(window->photolist().row(r).action);
        return all.join(' ');
    }
    void loadfolder(const QString& folder, bool subfolders) { // and waits for the intake's end
        dialogs.folders.push_back(folder);
        dialogs.answers.push_back(subfolders);
        press("loadfolders");
        settle();
    }
    // Waits until no intake and no preview decode is under way.
    void settle() const {
        EXPECT_TRUE(QTest::qWaitFor([&] { return window->idle(); }, 60000));
    }
    // Presses a row's name with the mouse, which also selects it, and waits for its preview.
    void pressrow(int row) {
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                          list()->visualRect(list()->model()->index(row, 0)).center());
        settle();
    }
    // Starts a run that stands still at its first photo, a.jpg, right after announcing it, until
    // the lock returned, which every photo's rewrite takes, is let go.
    // Starts a run of `parallel` workers (0: one per core) whose photos wait for their working
    // files, all held until the answer is dropped; it returns once `last` is the last photo begun.
    std::vector<UniqueFd> startheldrun(int parallel = 1, const QString& last = "a.jpg") {
        child<QSpinBox>("parallel")->setValue(parallel);
        ensurefolder(datafolder());
        std::vector<UniqueFd> locks;
        for (int slot = 0; slot < rewriteslots; ++slot) {
            locks.emplace_back(::open(QFile::encodeName(slotfilename(datafolder(), slot, "xtemp", ".lock")),
                                      O_RDWR | O_CREAT | O_CLOEXEC, 0600));
            EXPECT_EQ(::flock(locks.back().get(), LOCK_EX), 0);
        }
        press("start");
        EXPECT_EQ(rowcounter(), "Starting ...");
        EXPECT_TRUE(QTest::qWaitFor([&] { return rowcounter() == "Rotating " + last; }, 60000));
        return locks;
    }
    bool waitforendofrun() {
        const qsizetype before = dialogs.told.size();
        return QTest::qWaitFor([&] { return dialogs.told.size() > before; }, 120000);
    }
    void expectturned(const QString& name, const Pixels& before, Action action) const {
        EXPECT_LE(maxdifference(decodejpeg(path(name)), turned(before, action)), idcttolerance)
            << qPrintable(name);
    }

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    NotedDesktop desktop;
    PreferencesStore store;
    bool forappstore = false; // the flavour of the windows opened
    std::unique_ptr<MainModule> window;
    Menus* menus = nullptr; // the window's
};

} // namespace pivotel::test

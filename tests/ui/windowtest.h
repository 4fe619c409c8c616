#pragma once

#include "app/settingsstore.h"
#include "services/desktop.h"
#include "support/qtprinting.h"
#include "support/uniquefd.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTableView>
#include <QTemporaryDir>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace pivotel::test {

// A JPEG of the test pattern, with an EXIF orientation when one is given (0: no EXIF at all),
// written without the metadata tool, which would be too slow for the window's many photos.
void writephoto(const QString& path, int width = 48, int height = 32, int orientation = 0);

// Answers the window's dialogs from a script and notes what was asked. A dialog that the
// script didn't expect fails the test and is answered as cancelled.
class ScriptedDialogs : public Dialogs {
  public:
    std::deque<QStringList> files;
    std::deque<QString> folders;
    std::deque<bool> answers;
    std::function<void()> whileasking, whiletelling; // run inside the next question, message
    QStringList filetitles, folderprompts, startfolders;
    std::vector<QStringList> filetypes;
    std::vector<Question> questions;
    QStringList told;

    QStringList choosefiles(QWidget*, const QString& title, const QString& folder,
                            const QStringList& types) override;
    QString choosefolder(QWidget*, const QString& prompt, const QString& folder) override;
    bool ask(QWidget*, const Question& question) override;
    void tell(QWidget*, const QString& message) override;
};

// Notes what the program hands to the browser or a viewer, and opens nothing.
struct NotedDesktop : Desktop {
    QList<QUrl> opened;
    void openurl(const QUrl& url) override { opened << url; }
};

// Holds the lock that every photo's rewrite takes on the data folder, so that a run stands
// still at its first photo, right after announcing it, until released.
class HeldRun {
  public:
    HeldRun();
    void release() { lock_.reset(); }

  private:
    UniqueFd lock_;
};

// A window opened as at a launch, on the settings stored so far, driven through its controls.
class WindowTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override { window.reset(); }
    void openwindow();

    QString path(const QString& name) const { return dir.filePath(name); }
    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    QAction* action(const char* identifier) const;
    void press(const char* identifier); // a toolbar button, with the mouse
    template <typename T = QLabel> T* child(const char* name) const {
        T* found = window->findChild<T*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QCheckBox* checkbox(const char* name) const { return child<QCheckBox>(name); }
    void tick(const char* name); // clicks a check box on its box
    QSlider* slider() const { return child<QSlider>("qualityslider"); }
    QLineEdit* qualityfield() const { return child<QLineEdit>("jpgquality"); }
    QTableView* list() const { return child<QTableView>("Listbox1"); }
    QString rowcounter() const { return child("rowcounter")->text(); }
    QStringList rows() const; // "name|label"
    // Loads a folder through Load Folders and waits for the intake's end.
    void loadfolder(const QString& folder, bool subfolders);
    // Waits until no intake and no preview decode is under way.
    void settle() const;
    // Presses a row's name with the mouse, which also selects it, and waits for its preview.
    void pressrow(int row);
    bool waitforendofrun();
    bool waitforstatus(const QString& text) const;

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    PreferencesStore store;
    std::unique_ptr<MainModule> window;
};

} // namespace pivotel::test

#pragma once

#include "services/desktop.h"
#include "support/qtprinting.h"
#include "support/uniquefd.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"
#include "uiphotos.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

class QAbstractButton;
class QCheckBox;
class QLabel;
class QLineEdit;
class QSlider;

namespace pivotel::test {

// Answers the window's dialogs from a script and notes what was asked. A dialog that the
// script didn't expect fails the test and is answered as cancelled.
class ScriptedDialogs : public Dialogs {
  public:
    struct FileRequest {
        QString title;
        QString folder;
        QStringList types;
    };
    struct FolderRequest {
        QString prompt;
        QString folder;
    };

    std::deque<QStringList> files;
    std::deque<QString> folders;
    std::deque<bool> answers;
    // Runs inside the next question, before it is answered.
    std::function<void()> whileasking;
    // Runs inside the next message, while it stands open.
    std::function<void()> whiletelling;

    std::vector<FileRequest> filerequests;
    std::vector<FolderRequest> folderrequests;
    std::vector<Question> questions;
    QStringList told;

    QStringList choosefiles(QWidget* parent, const QString& title, const QString& folder,
                            const QStringList& types) override;
    QString choosefolder(QWidget* parent, const QString& prompt, const QString& folder) override;
    bool ask(QWidget* parent, const Question& question) override;
    void tell(QWidget* parent, const QString& message) override;
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
    void TearDown() override;

    // Opens a new window (closing none); the settings are those stored.
    void openwindow();

    QAction* action(const QString& identifier) const;
    // Presses a toolbar button with the mouse.
    void press(const QString& identifier);
    QLabel* label(const char* name) const;
    QCheckBox* checkbox(const char* name) const;
    // Clicks a check box on its box.
    void tick(const char* name);
    QSlider* slider() const;
    QLineEdit* qualityfield() const;
    QString rowcounter() const;
    // The rows as "name|label".
    QStringList rows() const;
    // Loads a folder through Load Folders, with or without its sub folders.
    void loadfolder(const QString& folder, bool subfolders);
    // Waits until the window has shown the box at the end of a run; false on a time-out.
    bool waitforendofrun();

    QTemporaryDir dir;
    ScriptedDialogs dialogs;
    std::unique_ptr<MainModule> window;
};

} // namespace pivotel::test

#pragma once

#include "support/places.h"

#include <QObject>
#include <QString>
#include <functional>

class QAction;
class QKeySequence;
class QMenu;

namespace pivotel {

class AboutWindow;
class Desktop;
class Dialogs;
class MainModule;
class UpdateCheck;
struct UpdateAnswer;

// The menu bar, MenuBar1, on the main window, and the application's commands behind it:
// "File" (Load Files, Load Folders, the toolbar's Start, Load + Start and Clear List, and Stop),
// "&Edit" on the control in focus, "Window", and "&Help" (Quit, About, the manual, the update
// check). Each item's object name is its name in the program's design ("FileLoadFiles",
// "EditUndo", ...). Shortcuts are the platform's own where it has one: Open for Load Files;
// ours otherwise, as the manual lists them.
class Menus : public QObject {
    Q_OBJECT
  public:
    // `resources` holds the manual and the icon: the bundle's, unless a test says otherwise.
    Menus(MainModule& window, Dialogs& dialogs, Desktop& desktop, QString resources = resourcesfolder());

    // Asks the update server without waiting for it. Verbose speaks in every case; otherwise
    // only a newer version is mentioned.
    void checkforupdates(bool verbose);

    // Made at its first showing, so that a start doesn't pay for reading the icon.
    AboutWindow& about();
    UpdateCheck& updatecheck() const { return *updates_; }

  private:
    enum class Edit { Undo, Cut, Copy, Paste, Delete, SelectAll };

    QAction* additem(QMenu* menu, const char* name, const QString& text, const QKeySequence& shortcut,
                     std::function<void()> command);
    void buildfile();
    void buildedit();
    void buildwindow();
    void buildhelp();
    // What the control in focus allows, and doing it there.
    bool canedit(Edit command) const;
    void edit(Edit command);
    void showabout();
    // The answer of a check: a question for a newer version, a message when verbose.
    void speak(const UpdateAnswer& answer, bool verbose);

    MainModule& window_;
    Dialogs& dialogs_;
    Desktop& desktop_;
    QString resources_;
    AboutWindow* about_ = nullptr;
    UpdateCheck* updates_;
};

} // namespace pivotel

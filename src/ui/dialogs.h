#pragma once

#include <QPoint>
#include <QString>
#include <QStringList>
#include <optional>

class QWidget;

namespace pivotel {

// A modal question with two buttons; `yes` is the action button.
struct Question {
    QString title;
    QString message;
    QString explanation;
    QString yes;
    QString no;
};

// A folder panel that asks the user to choose one folder, starting in `folder`.
struct FolderPanel {
    QString title;
    QString message;
    QString prompt; // the default button's text
    QString folder;
};

// Every dialog the window shows goes through here: the program uses real Qt dialogs, the tests
// answer from a script, so that no test ever waits on a modal.
class Dialogs {
  public:
    virtual ~Dialogs() = default;

    // Several files to open, offering files with the given extensions (no dot). Empty when the
    // user cancels.
    virtual QStringList choosefiles(QWidget* parent, const QString& title, const QString& folder,
                                    const QStringList& types) = 0;
    // One folder. Empty when the user cancels.
    virtual QString choosefolder(QWidget* parent, const QString& prompt, const QString& folder) = 0;
    // True when the user pressed the panel's default button, whatever folder was chosen.
    virtual bool grantfolder(QWidget* parent, const FolderPanel& panel) = 0;
    // True when the action button was pressed.
    virtual bool ask(QWidget* parent, const Question& question) = 0;
    // A message with one button.
    virtual void tell(QWidget* parent, const QString& message) = 0;
    // A pop-up menu of `items` at `at` (global coordinates), all enabled or all greyed: the index
    // of the entry chosen, none when the menu is dismissed. An empty item is a separator, which
    // counts in the index but can't be chosen.
    virtual std::optional<int> popup(QWidget* parent, const QStringList& items, QPoint at, bool enabled) = 0;
};

} // namespace pivotel

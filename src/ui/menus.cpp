#include "ui/menus.h"

#include "services/desktop.h"
#include "services/helpmanual.h"
#include "services/updatecheck.h"
#include "support/appidentity.h"
#include "ui/aboutwindow.h"
#include "ui/dialogs.h"
#include "ui/mainmodule.h"
#include "ui/maintoolbar.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMenuBar>
#include <QTimer>
#include <QWindow>

namespace pivotel {

Menus::Menus(MainModule& window, Dialogs& dialogs, Desktop& desktop, QString resources)
    : QObject(&window), window_(window), dialogs_(dialogs), desktop_(desktop),
      resources_(std::move(resources)), updates_(new UpdateCheck(versiontext(), this)) {
    connect(updates_, &UpdateCheck::answered, this,
            [this](const UpdateAnswer& answer, bool verbose) { speak(answer, verbose); });
    window_.menuBar()->setObjectName(QStringLiteral("MenuBar1"));
    buildfile();
    buildedit();
    buildwindow();
    buildhelp();
}

QAction* Menus::additem(QMenu* menu, const char* name, const QString& text, const QKeySequence& shortcut,
                        std::function<void()> command) {
    QAction* item = menu->addAction(text);
    item->setObjectName(QLatin1String(name));
    item->setShortcut(shortcut);
    // Only Quit and About move to the application menu on macOS, by their roles below.
    item->setMenuRole(QAction::NoRole);
    connect(item, &QAction::triggered, this, std::move(command));
    return item;
}

void Menus::buildfile() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("File"));
    menu->setObjectName(QStringLiteral("UntitledMenu1"));
    // New rows during a run wait for the next one: the run works on its frozen list.
    additem(menu, "FileLoadFiles", QStringLiteral("Load Files"), QKeySequence::Open, [this] {
        if (!window_.takingphotos())
            window_.loadfiles();
    });
    additem(menu, "FileLoadFolders", QStringLiteral("Load Folders"),
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O), [this] {
                if (!window_.state().isrunning && !window_.takingphotos())
                    window_.loadfolders();
            });
    menu->addSeparator();
    // The toolbar's commands, for the keyboard: the same buttons pressed, with the same rules.
    const struct {
        const char* name;
        const char* identifier;
        const char* text;
        QKeySequence shortcut;
    } commands[] = {
        {"FileStart", "start", "Start", QKeySequence(Qt::CTRL | Qt::Key_R)},
        {"FileLoadStart", "loadstart", "Load + Start", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R)},
        {"FileClearList", "clearlist", "Clear List", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace)},
    };
    for (const auto& command : commands) {
        QAction* button = window_.toolbar()->item(QLatin1String(command.identifier));
        additem(menu, command.name, QLatin1String(command.text), command.shortcut,
                [button] { button->trigger(); });
    }
    // Escape anywhere in the window, and the usual stop of macOS, Cmd+Period.
    additem(menu, "FileStop", QStringLiteral("Stop"), QKeySequence(Qt::Key_Escape), [this] {
        window_.stoprun();
    })->setShortcuts({QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_Period)});
}

void Menus::buildedit() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Edit"));
    menu->setObjectName(QStringLiteral("EditMenu"));
    const struct {
        const char* name;
        const char* text;
        QKeySequence shortcut;
        Edit command;
    } items[] = {
        {"EditUndo", "&Undo", QKeySequence::Undo, Edit::Undo},
        {"EditCut", "Cu&t", QKeySequence::Cut, Edit::Cut},
        {"EditCopy", "&Copy", QKeySequence::Copy, Edit::Copy},
        {"EditPaste", "&Paste", QKeySequence::Paste, Edit::Paste},
        {"EditClear", "&Delete", {}, Edit::Delete},
        {"EditSelectAll", "Select &All", QKeySequence::SelectAll, Edit::SelectAll},
    };
    QList<std::pair<QAction*, Edit>> actions;
    for (const auto& item : items) {
        if (item.command == Edit::Cut || item.command == Edit::SelectAll)
            menu->addSeparator()->setObjectName(item.command == Edit::Cut ? QStringLiteral("EditSeparator1")
                                                                          : QStringLiteral("EditSeparator2"));
        const Edit command = item.command;
        actions.append({additem(menu, item.name, QString::fromUtf8(item.text), item.shortcut,
                                [this, command] { edit(command); }),
                        command});
    }
    // Greyed while open for what the control in focus can't do; the shortcuts stay live and
    // ask the control themselves.
    connect(menu, &QMenu::aboutToShow, this, [this, actions] {
        for (const auto& [action, command] : actions)
            action->setEnabled(canedit(command));
    });
    connect(menu, &QMenu::aboutToHide, this, [actions] {
        for (const auto& entry : actions)
            entry.first->setEnabled(true);
    });
}

bool Menus::canedit(Edit command) const {
    QWidget* focus = QApplication::focusWidget();
    if (auto* field = qobject_cast<QLineEdit*>(focus)) {
        const bool writable = !field->isReadOnly();
        switch (command) {
        case Edit::Undo:
            return field->isUndoAvailable();
        case Edit::Cut:
        case Edit::Delete:
            return writable && field->hasSelectedText();
        case Edit::Copy:
            return field->hasSelectedText();
        case Edit::Paste:
            return writable && !QGuiApplication::clipboard()->text().isEmpty();
        case Edit::SelectAll:
            return !field->text().isEmpty();
        }
    }
    if (auto* list = qobject_cast<QAbstractItemView*>(focus)) {
        if (command == Edit::Delete)
            return list->selectionModel() && list->selectionModel()->hasSelection() &&
                   !window_.state().isrunning;
        return command == Edit::SelectAll && list->selectionMode() == QAbstractItemView::ExtendedSelection;
    }
    return false;
}

void Menus::edit(Edit command) {
    if (!canedit(command))
        return;
    QWidget* focus = QApplication::focusWidget();
    if (auto* field = qobject_cast<QLineEdit*>(focus)) {
        switch (command) {
        case Edit::Undo:
            return field->undo();
        case Edit::Cut:
            return field->cut();
        case Edit::Copy:
            return field->copy();
        case Edit::Paste:
            return field->paste();
        case Edit::Delete:
            return field->del();
        case Edit::SelectAll:
            return field->selectAll();
        }
    }
    auto* list = qobject_cast<QAbstractItemView*>(focus);
    if (list && command == Edit::Delete)
        window_.removeselectedrow();
    else if (list)
        list->selectAll();
}

void Menus::buildwindow() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("Window"));
    menu->setObjectName(QStringLiteral("WindowMenu"));
    additem(menu, "WindowMinimize", QStringLiteral("Minimize"), QKeySequence(Qt::CTRL | Qt::Key_M),
            [this] { window_.showMinimized(); });
    menu->addSeparator();
    QAction* entry = additem(menu, "WindowMain", window_.windowTitle().trimmed(), {}, [this] {
        window_.showNormal();
        window_.raise();
        window_.activateWindow();
    });
    entry->setCheckable(true);
    connect(menu, &QMenu::aboutToShow, this, [this, entry] {
        entry->setText(window_.windowTitle().trimmed());
        entry->setChecked(window_.isActiveWindow());
    });
}

void Menus::buildhelp() {
    QMenu* menu = window_.menuBar()->addMenu(QStringLiteral("&Help"));
    menu->setObjectName(QStringLiteral("FileMenu"));
    additem(menu, "FileQuit", QStringLiteral("&Quit"), QKeySequence::Quit, [this] {
        window_.close();
    })->setMenuRole(QAction::QuitRole);
    additem(menu, "FileAbout", QStringLiteral("About Pivotel"), {}, [this] {
        showabout();
    })->setMenuRole(QAction::AboutRole);
    additem(menu, "menuOnlineHelp", QStringLiteral("Help Manual"), {},
            [this] { openhelpmanual(desktop_, resources_); });
    menu->addSeparator()->setObjectName(QStringLiteral("UntitledSeparator"));
    // The sandboxed build is updated by its store; its separator stays, last in the menu.
    menu->setSeparatorsCollapsible(false);
    additem(menu, "CheckforUpdatesItem", QStringLiteral("Check for Updates"), {}, [this] {
        checkforupdates(true);
    })->setVisible(!window_.forappstore());
}

AboutWindow& Menus::about() {
    if (!about_)
        about_ = new AboutWindow(desktop_, resources_, &window_);
    return *about_;
}

void Menus::showabout() {
    about().show();
    about().raise();
    about().activateWindow();
}

void Menus::checkforupdates(bool verbose) {
    updates_->start(verbose);
}

void Menus::speak(const UpdateAnswer& answer, bool verbose) {
    // An answer that comes while another dialog is up waits for it to close; one that comes
    // before the window is on screen waits for it, so that the box opens over it.
    if (QApplication::activeModalWidget() || !window_.windowHandle() ||
        !window_.windowHandle()->isExposed()) {
        QTimer::singleShot(500, this, [this, answer, verbose] { speak(answer, verbose); });
        return;
    }
    switch (answer.kind) {
    case UpdateAnswer::NoAnswer:
        if (verbose)
            dialogs_.tell(&window_, QStringLiteral("Our Update Server cannot be reached at the moment. "
                                                   "Please try again later"));
        break;
    case UpdateAnswer::UpToDate:
        if (verbose)
            dialogs_.tell(&window_, QStringLiteral("You are currently up to date"));
        break;
    case UpdateAnswer::Newer:
        if (dialogs_.ask(&window_, {QString(),
                                    QStringLiteral("There is an Updated Version ") + answer.version +
                                        QStringLiteral(" available. Do You Want to Download It Now ?"),
                                    QString(), QStringLiteral("Yes"), QStringLiteral("No")}))
            desktop_.openurl(UpdateCheck::downloadurl());
        break;
    }
}

} // namespace pivotel

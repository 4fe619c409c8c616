#pragma once

#include "ui/toolbaricons.h"

#include <QToolBar>

namespace pivotel {

// The window's toolbar: "Load Files", "Load Folders", a flexible space, "Start", "Load + Start",
// a flexible space, a space and "Clear List", which stands in the toolbar's centre. Each
// button's action is named after its identifier ("loadfiles", "loadfolders", "start",
// "loadstart", "clearlist"); the window connects them. The user can't rearrange it.
class MainToolbar : public QToolBar {
    Q_OBJECT
  public:
    explicit MainToolbar(QWidget* parent = nullptr);

    // The button's action by its identifier; nullptr for an unknown one.
    QAction* item(const QString& identifier) const;
    // Turns a button on or off.
    void toggletoolbar(const QString& identifier, bool enabled);

  protected:
    bool event(QEvent* event) override;

  private:
    QAction* additem(const QString& identifier, const QString& label, const QString& themename,
                     Symbol symbol);
    QWidget* addspace(const char* name, QSizePolicy::Policy policy, int width);
    // Sizes the flexible spaces so that "Clear List" sits in the middle of the toolbar.
    void centreclearlist();

    QWidget* flexible1_ = nullptr;
    QWidget* flexible2_ = nullptr;
    QWidget* trailing_ = nullptr;
};

} // namespace pivotel

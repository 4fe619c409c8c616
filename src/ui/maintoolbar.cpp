#include "ui/maintoolbar.h"

#include "ui/toolbaricons.h"

#include <QAction>
#include <QEvent>
#include <algorithm>

namespace pivotel {

namespace {
// The plain space between the second flexible space and "Clear List".
constexpr int spacewidth = 24;
} // namespace

MainToolbar::MainToolbar(QWidget* parent) : QToolBar(QStringLiteral("Pivotel"), parent) {
    setObjectName(QStringLiteral("mainToolbar"));
    setMovable(false);
    setFloatable(false);
    toggleViewAction()->setVisible(false);
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    setIconSize(QSize(24, 24));

    additem(QStringLiteral("loadfiles"), QStringLiteral("Load Files"), QStringLiteral("image-x-generic"),
            Symbol::Photo);
    additem(QStringLiteral("loadfolders"), QStringLiteral("Load Folders"), QStringLiteral("folder-pictures"),
            Symbol::Photos);
    flexible1_ = addspace("flexiblespace1", QSizePolicy::Fixed, 0);
    additem(QStringLiteral("start"), QStringLiteral("Start"), QStringLiteral("media-playback-start"),
            Symbol::Play);
    additem(QStringLiteral("loadstart"), QStringLiteral("Load + Start"), QStringLiteral("system-run"),
            Symbol::DocumentGear);
    flexible2_ = addspace("flexiblespace2", QSizePolicy::Fixed, 0);
    addspace("space", QSizePolicy::Fixed, spacewidth);
    additem(QStringLiteral("clearlist"), QStringLiteral("Clear List"), QStringLiteral("edit-clear"),
            Symbol::Document);
    trailing_ = addspace("trailingspace", QSizePolicy::Expanding, 0);
}

QAction* MainToolbar::item(const QString& identifier) const {
    for (QAction* action : actions()) {
        if (action->objectName() == identifier)
            return action;
    }
    return nullptr;
}

void MainToolbar::toggletoolbar(const QString& identifier, bool enabled) {
    if (QAction* action = item(identifier))
        action->setEnabled(enabled);
}

bool MainToolbar::event(QEvent* event) {
    // The layout has been applied when the base class returns; the spaces follow it.
    const bool handled = QToolBar::event(event);
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize ||
        event->type() == QEvent::Show)
        centreclearlist();
    return handled;
}

QAction* MainToolbar::additem(const QString& identifier, const QString& label, const QString& themename,
                              Symbol symbol) {
    QAction* action = addAction(toolbaricon(themename, symbol), label);
    action->setObjectName(identifier);
    action->setToolTip(label);
    if (QWidget* button = widgetForAction(action))
        button->setObjectName(identifier + QStringLiteral("button"));
    return action;
}

QWidget* MainToolbar::addspace(const char* name, QSizePolicy::Policy policy, int width) {
    auto* space = new QWidget(this);
    space->setObjectName(QLatin1String(name));
    space->setSizePolicy(policy, QSizePolicy::Preferred);
    if (policy == QSizePolicy::Fixed)
        space->setFixedWidth(width);
    addWidget(space);
    return space;
}

void MainToolbar::centreclearlist() {
    const QWidget* clear = widgetForAction(item(QStringLiteral("clearlist")));
    if (!clear || !isVisible())
        return;
    // Moving the flexible spaces moves "Clear List" by the same amount; the trailing space,
    // which stretches, takes up what is left on its right.
    const int shift = width() / 2 - clear->geometry().center().x();
    const int current = flexible1_->minimumWidth() + flexible2_->minimumWidth();
    const int wanted = std::max(0, current + shift);
    if (wanted == current)
        return;
    flexible1_->setFixedWidth(wanted / 2);
    flexible2_->setFixedWidth(wanted - wanted / 2);
}

} // namespace pivotel

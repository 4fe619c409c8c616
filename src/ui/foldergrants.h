#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace pivotel {

class Dialogs;
class PhotoListModel;

// The sandboxed flavour's folders that it may write to (`sandboxfolder`), for this launch only:
// the folders chosen by Load Folders (the folder itself, not those below it) and those the user
// granted in a panel before a run. Folders are compared whole, as text.
class FolderGrants {
  public:
    void grant(const QString& folder);
    [[nodiscard]] const QStringList& sandboxfolder() const { return sandboxfolder_; }

    // Before a run: the folder of every row, not only the run's, that isn't granted yet goes in
    // `listoffolder`; when there is any, a message, then one panel per folder in order. A panel
    // answered with its default button grants the folder asked for; one cancelled leaves it to
    // the roundabout way, and the next panel comes up all the same.
    void whichfolderneeded(QWidget* parent, Dialogs& dialogs, const PhotoListModel& list);

  private:
    QStringList sandboxfolder_;
    QStringList listoffolder_;
};

} // namespace pivotel

#pragma once

#include "ui/dialogs.h"

namespace pivotel {

// The dialogs of the desktop, through Qt.
class QtDialogs : public Dialogs {
  public:
    QStringList choosefiles(QWidget* parent, const QString& title, const QString& folder,
                            const QStringList& types) override;
    QString choosefolder(QWidget* parent, const QString& prompt, const QString& folder) override;
    bool grantfolder(QWidget* parent, const FolderPanel& panel) override;
    bool ask(QWidget* parent, const Question& question) override;
    void tell(QWidget* parent, const QString& message) override;
    std::optional<int> popup(QWidget* parent, const QStringList& items, QPoint at, bool enabled) override;
};

} // namespace pivotel

#include "ui/qtdialogs.h"

#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

namespace pivotel {

QStringList QtDialogs::choosefiles(QWidget* parent, const QString& title, const QString& folder,
                                   const QStringList& types) {
    // Name filters match case-sensitively on some file systems, so both cases are offered.
    QStringList patterns;
    for (const QString& type : types)
        patterns << QStringLiteral("*.") + type;
    for (const QString& type : types)
        patterns << QStringLiteral("*.") + type.toUpper();

    QFileDialog dialog(parent, title, folder);
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setNameFilter(QStringLiteral("JPEG Photos (%1)").arg(patterns.join(QLatin1Char(' '))));
    dialog.setLabelText(QFileDialog::Accept, title);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles();
}

QString QtDialogs::choosefolder(QWidget* parent, const QString& prompt, const QString& folder) {
    QFileDialog dialog(parent, prompt, folder);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

bool QtDialogs::grantfolder(QWidget* parent, const FolderPanel& panel) {
    // Qt's own dialog, which has room for the panel's message under its controls.
    QFileDialog dialog(parent, panel.title, panel.folder);
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setLabelText(QFileDialog::Accept, panel.prompt);
    if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout())) {
        auto* message = new QLabel(panel.message, &dialog);
        message->setWordWrap(true);
        grid->addWidget(message, grid->rowCount(), 0, 1, grid->columnCount());
    }
    return dialog.exec() == QDialog::Accepted;
}

bool QtDialogs::ask(QWidget* parent, const Question& question) {
    QMessageBox box(parent);
    box.setIcon(QMessageBox::Question);
    box.setWindowTitle(question.title);
    box.setText(question.message);
    box.setInformativeText(question.explanation);
    QPushButton* yes = box.addButton(question.yes, QMessageBox::AcceptRole);
    QPushButton* no = box.addButton(question.no, QMessageBox::RejectRole);
    box.setDefaultButton(yes);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

void QtDialogs::tell(QWidget* parent, const QString& message) {
    QMessageBox box(parent);
    box.setIcon(QMessageBox::Information);
    box.setText(message);
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}

std::optional<int> QtDialogs::popup(QWidget* parent, const QStringList& items, QPoint at, bool enabled) {
    QMenu menu(parent);
    for (const QString& item : items) {
        if (item.isEmpty())
            menu.addSeparator();
        else
            menu.addAction(item)->setEnabled(enabled);
    }
    const QAction* chosen = menu.exec(at);
    if (!chosen)
        return std::nullopt;
    return static_cast<int>(menu.actions().indexOf(chosen));
}

} // namespace pivotel

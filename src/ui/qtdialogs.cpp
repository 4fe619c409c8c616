#include "ui/qtdialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>

namespace pivotel {

namespace {

// Wide enough for a file name or a sentence on a line, so that names aren't broken inside.
constexpr int boxwidth = 460;
// Lines of a message shown in the box itself; a longer list goes whole into the detail area.
constexpr int shownlines = 14;

// The last two words held together, so that none stands alone on the last line.
QString withoutorphan(QString text) {
    const qsizetype end = text.lastIndexOf(QLatin1Char('\n'));
    const qsizetype space = text.lastIndexOf(QLatin1Char(' '));
    if (space > 0 && space > end)
        text[space] = QChar(0x00A0);
    return text;
}

// A title of its own, the width above, and the middle of the window it belongs to, also when
// it opens before that window has found its place.
void prepare(QMessageBox& box, QWidget* parent, const QString& title) {
    box.setWindowTitle(title.isEmpty() ? QApplication::applicationName() : title);
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout()))
        grid->addItem(new QSpacerItem(boxwidth, 0, QSizePolicy::Minimum, QSizePolicy::Fixed),
                      grid->rowCount(), 0, 1, grid->columnCount());
    box.adjustSize();
    if (parent) {
        const QRect around = parent->window()->frameGeometry();
        box.move(around.center() - box.rect().center());
    }
}

} // namespace

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
    box.setText(withoutorphan(question.message));
    box.setInformativeText(withoutorphan(question.explanation));
    QPushButton* yes = box.addButton(question.yes, QMessageBox::AcceptRole);
    QPushButton* no = box.addButton(question.no, QMessageBox::RejectRole);
    box.setDefaultButton(yes);
    box.setEscapeButton(no);
    prepare(box, parent, question.title);
    box.exec();
    return box.clickedButton() == yes;
}

void QtDialogs::tell(QWidget* parent, const QString& message) {
    QMessageBox box(parent);
    box.setIcon(QMessageBox::Information);
    const QStringList lines = message.split(QLatin1Char('\n'));
    if (lines.size() > shownlines) {
        box.setText(withoutorphan(lines.mid(0, shownlines).join(QLatin1Char('\n'))) +
                    QStringLiteral("\n(%1 lines more)").arg(lines.size() - shownlines));
        box.setDetailedText(message);
    } else {
        box.setText(withoutorphan(message));
    }
    box.setStandardButtons(QMessageBox::Ok);
    prepare(box, parent, {});
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

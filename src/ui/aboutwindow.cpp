#include "ui/aboutwindow.h"

#include "services/desktop.h"
#include "support/appidentity.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>

namespace pivotel {

namespace {

// The layout's "Melo" is a Mac monospace; elsewhere the system's monospace stands in.
QFont melo(int pixels) {
    QFont font(QStringLiteral("Menlo"));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(pixels);
    font.setBold(true);
    return font;
}

QFont systemfont(int pixels, bool bolditalic) {
    QFont font = QApplication::font();
    font.setPixelSize(pixels);
    font.setBold(bolditalic);
    font.setItalic(bolditalic);
    return font;
}

QIcon abouticon(const QString& resources) {
    const QString icns = resources + QStringLiteral("/App.icns");
    const QIcon icon = QFileInfo(icns).isFile() ? QIcon(icns) : QIcon();
    return icon.isNull() ? QApplication::windowIcon() : icon;
}

} // namespace

AboutWindow::AboutWindow(Desktop& desktop, const QString& resources, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      desktop_(desktop) {
    setObjectName(QStringLiteral("About"));
    setWindowTitle(QStringLiteral("About Pivotel"));
    setFixedSize(296, 280);

    auto* image = new QLabel(this);
    image->setObjectName(QStringLiteral("ImageMBS1"));
    image->setGeometry(32, 4, 233, 178);
    image->setAlignment(Qt::AlignCenter);
    image->setPixmap(abouticon(resources).pixmap(QSize(178, 178)));
    image->setAttribute(Qt::WA_TransparentForMouseEvents);

    QFont name = melo(16);
    name.setItalic(true);
    addlabel("Label1", {0, 177, 296, 34}, Qt::AlignCenter, name)->setText(justappname());
    addlabel("version", {140, 206, 125, 34}, Qt::AlignRight | Qt::AlignVCenter, melo(12))
        ->setText(QStringLiteral("v ") + versiontext());
    // The two bottom lines stand where the layout's bottom edge, 70 higher, puts them.
    makerline_ = addlabel("Label2", {0, 248, 296, 20}, Qt::AlignHCenter | Qt::AlignTop, systemfont(11, true));
    address_ = addlabel("Label3", {0, 260, 296, 20}, Qt::AlignHCenter | Qt::AlignTop, systemfont(11, false));
    address_->setText(website());
    address_->setCursor(Qt::PointingHandCursor);
    address_->setForegroundRole(QPalette::Link);
}

QString AboutWindow::website() {
    return QStringLiteral(PIVOTEL_WEBSITE);
}

QLabel* AboutWindow::addlabel(const char* name, const QRect& where, Qt::Alignment alignment,
                              const QFont& font) {
    auto* label = new QLabel(this);
    label->setObjectName(QLatin1String(name));
    label->setGeometry(where);
    label->setAlignment(alignment);
    label->setFont(font);
    // Presses go to the window, which tells the address from the rest.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    return label;
}

void AboutWindow::showEvent(QShowEvent* event) {
    makerline_->setText(QStringLiteral("Copyright © %1 Zenthori Apps").arg(today_().year()));
    QDialog::showEvent(event);
}

void AboutWindow::mousePressEvent(QMouseEvent* event) {
    if (address_->geometry().contains(event->position().toPoint()))
        desktop_.openurl(QUrl(QStringLiteral("https://") + website()));
    else
        hide();
}

} // namespace pivotel

#pragma once

#include <QDate>
#include <QDialog>
#include <functional>

class QLabel;

namespace pivotel {

class Desktop;

// "About Pivotel": the icon, the name, the version, the maker's line with the present year and
// the maker's web address. A click on the address opens it in the browser; a click anywhere
// else hides the window, which the menu shows again.
class AboutWindow : public QDialog {
    Q_OBJECT
  public:
    // The icon is the bundle's App.icns in `resources`.
    AboutWindow(Desktop& desktop, const QString& resources, QWidget* parent = nullptr);

    // Where the year comes from; the system's date unless a test says otherwise.
    void setclock(std::function<QDate()> today) { today_ = std::move(today); }
    // The maker's web address, as the window shows it.
    static QString website();

  protected:
    // The year is that of each opening, so a window shown again in a new year shows it.
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    QLabel* addlabel(const char* name, const QRect& where, Qt::Alignment alignment, const QFont& font);

    Desktop& desktop_;
    std::function<QDate()> today_ = [] {
        return QDate::currentDate();
    };
    QLabel* makerline_ = nullptr;
    QLabel* address_ = nullptr;
};

} // namespace pivotel

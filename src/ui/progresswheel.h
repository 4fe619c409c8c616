#pragma once

#include <QTimer>
#include <QWidget>

namespace pivotel {

// A small spinning wheel that says "busy" while photos are being taken in. It turns only
// while it is shown.
class ProgressWheel : public QWidget {
    Q_OBJECT
  public:
    explicit ProgressWheel(QWidget* parent = nullptr);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    static constexpr int spokes = 12;
    QTimer turn_;
    int step_ = 0;
};

} // namespace pivotel

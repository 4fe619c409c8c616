#include "ui/progresswheel.h"

#include <QPainter>
#include <algorithm>

namespace pivotel {

ProgressWheel::ProgressWheel(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    turn_.setInterval(80);
    connect(&turn_, &QTimer::timeout, this, [this] {
        step_ = (step_ + 1) % spokes;
        update();
    });
}

QSize ProgressWheel::sizeHint() const {
    return {16, 16};
}

void ProgressWheel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    QColor colour = palette().color(QPalette::WindowText);
    QPen pen(colour, std::max<qreal>(1.5, side / 9), Qt::SolidLine, Qt::RoundCap);
    for (int i = 0; i < spokes; ++i) {
        // The spoke at the wheel's head is darkest; the ones behind it fade.
        const int age = (step_ - i + spokes) % spokes;
        colour.setAlphaF(static_cast<float>(1.0 - 0.75 * age / (spokes - 1)));
        pen.setColor(colour);
        painter.setPen(pen);
        painter.save();
        painter.rotate(360.0 * i / spokes);
        painter.drawLine(QPointF(0, -side * 0.22), QPointF(0, -side * 0.45));
        painter.restore();
    }
}

void ProgressWheel::showEvent(QShowEvent* event) {
    turn_.start();
    QWidget::showEvent(event);
}

void ProgressWheel::hideEvent(QHideEvent* event) {
    turn_.stop();
    QWidget::hideEvent(event);
}

} // namespace pivotel

#include "ui/toolbaricons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <cmath>

namespace pivotel {

namespace {

// Draws a symbol on a 24 by 24 grid, scaled to the asked size, like a template image: one
// colour, taken from the palette, greyed when disabled.
class SymbolEngine : public QIconEngine {
  public:
    explicit SymbolEngine(Symbol symbol) : symbol_(symbol) {}

    QIconEngine* clone() const override { return new SymbolEngine(symbol_); }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const QPalette palette = QGuiApplication::palette();
        const QColor ink =
            mode == QIcon::Disabled
                ? palette.color(QPalette::Disabled, QPalette::WindowText)
                : palette.color(mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::WindowText);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const qreal side = std::min(rect.width(), rect.height());
        painter->translate(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0);
        painter->scale(side / 24.0, side / 24.0);
        QPen pen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter->setPen(pen);
        painter->setBrush(Qt::NoBrush);
        draw(*painter, ink, palette.color(QPalette::Window));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

  private:
    void draw(QPainter& p, const QColor& ink, const QColor& paper) const {
        switch (symbol_) {
        case Symbol::Photo:
            photo(p, ink, paper, QRectF(3, 5, 18, 14));
            break;
        case Symbol::Photos:
            p.save();
            p.translate(12, 12);
            p.rotate(-12);
            p.drawRoundedRect(QRectF(-8, -8.5, 16, 12.5), 2, 2);
            p.restore();
            photo(p, ink, paper, QRectF(5, 8, 16, 12.5));
            break;
        case Symbol::Play: {
            p.drawEllipse(QPointF(12, 12), 9, 9);
            QPainterPath triangle;
            triangle.moveTo(10, 8);
            triangle.lineTo(16, 12);
            triangle.lineTo(10, 16);
            triangle.closeSubpath();
            p.setBrush(ink);
            p.drawPath(triangle);
            break;
        }
        case Symbol::DocumentGear:
            document(p);
            gear(p, ink, QPointF(16.5, 17), 4.2);
            break;
        case Symbol::Document:
            document(p);
            break;
        }
    }

    // A frame with a mountain and a sun, filled so that it hides what lies behind it.
    static void photo(QPainter& p, const QColor& ink, const QColor& paper, const QRectF& frame) {
        p.save();
        p.setBrush(paper);
        p.drawRoundedRect(frame, 2, 2);
        QPainterPath hills;
        hills.moveTo(frame.left() + 2, frame.bottom() - 2);
        hills.lineTo(frame.left() + frame.width() * 0.4, frame.top() + frame.height() * 0.45);
        hills.lineTo(frame.left() + frame.width() * 0.62, frame.top() + frame.height() * 0.7);
        hills.lineTo(frame.left() + frame.width() * 0.75, frame.top() + frame.height() * 0.55);
        hills.lineTo(frame.right() - 2, frame.bottom() - 2);
        p.setBrush(Qt::NoBrush);
        p.drawPath(hills);
        p.setBrush(ink);
        p.drawEllipse(QPointF(frame.right() - frame.width() * 0.25, frame.top() + frame.height() * 0.28), 1.3,
                      1.3);
        p.restore();
    }

    // A page with its top right corner folded.
    static void document(QPainter& p) {
        QPainterPath page;
        page.moveTo(6, 3);
        page.lineTo(14, 3);
        page.lineTo(19, 8);
        page.lineTo(19, 21);
        page.lineTo(6, 21);
        page.closeSubpath();
        p.drawPath(page);
        QPainterPath fold;
        fold.moveTo(14, 3);
        fold.lineTo(14, 8);
        fold.lineTo(19, 8);
        p.drawPath(fold);
    }

    // A small cog over the page's corner.
    static void gear(QPainter& p, const QColor& ink, const QPointF& centre, qreal radius) {
        p.save();
        p.setPen(Qt::NoPen);
        p.setBrush(ink);
        QPainterPath cog;
        const int teeth = 8;
        for (int i = 0; i < teeth * 2; ++i) {
            const qreal angle = M_PI * i / teeth;
            const qreal r = i % 2 == 0 ? radius : radius * 0.72;
            const QPointF at(centre.x() + r * std::cos(angle), centre.y() + r * std::sin(angle));
            if (i == 0)
                cog.moveTo(at);
            else
                cog.lineTo(at);
        }
        cog.closeSubpath();
        QPainterPath hole;
        hole.addEllipse(centre, radius * 0.32, radius * 0.32);
        p.drawPath(cog.subtracted(hole));
        p.restore();
    }

    Symbol symbol_;
};

} // namespace

QIcon symbolicon(Symbol symbol) {
    return QIcon(new SymbolEngine(symbol));
}

QIcon toolbaricon(const QString& themename, Symbol fallback) {
    if (QIcon::hasThemeIcon(themename))
        return QIcon::fromTheme(themename);
    return symbolicon(fallback);
}

} // namespace pivotel

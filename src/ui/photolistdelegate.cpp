#include "ui/photolistdelegate.h"

#include "photolist/photolistmodel.h"
#include "ui/photolistview.h"

#include <QApplication>
#include <QItemSelectionModel>
#include <QPainter>

namespace pivotel {

namespace {

bool darkappearance(const QPalette& palette) {
    return palette.color(QPalette::Base).lightness() < 128;
}

} // namespace

PhotoListDelegate::PhotoListDelegate(PhotoListView& view) : QStyledItemDelegate(&view), view_(view) {
}

void PhotoListDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const bool selected = view_.selectionModel() && view_.selectionModel()->isRowSelected(index.row(), {});
    option->font.setPixelSize(selected ? 14 : 12);
    option->font.setBold(selected);
    option->font.setItalic(selected);
    option->fontMetrics = QFontMetrics(option->font);
    // The fill is painted here, whole, before the text.
    option->backgroundBrush = Qt::NoBrush;
    if (index.column() == PhotoListModel::LabelColumn)
        option->rect.setRight(option->rect.right() - arrowwidth);
}

void PhotoListDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    if (selected)
        painter->fillRect(option.rect, option.palette.brush(QPalette::Active, QPalette::Highlight));
    else if (!darkappearance(option.palette))
        painter->fillRect(option.rect, Qt::white);

    switch (index.column()) {
    case PhotoListModel::ThumbnailColumn:
        paintthumbnail(painter, option, index);
        break;
    case PhotoListModel::LabelColumn:
        paintarrow(painter, option);
        [[fallthrough]];
    default: {
        QStyleOptionViewItem text = option;
        initStyleOption(&text, index);
        // The fill above stands for the style's, which would differ from it beside the arrow.
        text.state &= ~QStyle::State_Selected;
        if (selected)
            text.palette.setBrush(QPalette::Text,
                                  option.palette.brush(QPalette::Active, QPalette::HighlightedText));
        text.state &= ~QStyle::State_HasFocus;
        const QWidget* widget = option.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &text, painter, widget);
    }
    }
}

void PhotoListDelegate::paintarrow(QPainter* painter, const QStyleOptionViewItem& option) const {
    // The style's arrow takes the palette's text colour, so it turns light in a dark appearance.
    QStyleOption arrow;
    arrow.initFrom(&view_);
    arrow.rect = QRect(option.rect.right() - arrowwidth + 1,
                       option.rect.top() + (option.rect.height() - arrowwidth) / 2, 16, 16);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    arrow.palette.setBrush(QPalette::ButtonText,
                           option.palette.brush(selected ? QPalette::HighlightedText : QPalette::Text));
    arrow.palette.setBrush(QPalette::WindowText, arrow.palette.buttonText());
    arrow.state |= QStyle::State_Enabled;
    view_.style()->drawPrimitive(QStyle::PE_IndicatorArrowDown, &arrow, painter, &view_);
}

void PhotoListDelegate::paintthumbnail(QPainter* painter, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) const {
    const QImage picture =
        view_.thumbnail(index.siblingAtColumn(PhotoListModel::PathColumn).data().toString());
    if (picture.isNull())
        return;
    // Drawn at half its pixels, so sharp on a screen of up to double density, centred in the
    // 80-wide cell; a portrait photo is made smaller to stay inside its own row.
    QSize shown(picture.width() / 2, picture.height() / 2);
    if (shown.height() > option.rect.height())
        shown.scale(80, option.rect.height(), Qt::KeepAspectRatio);
    const int x = std::max(0, (80 - shown.width()) / 2);
    const QRect target(option.rect.topLeft() + QPoint(x, 0), shown);
    painter->save();
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(target, picture);
    painter->restore();
}

} // namespace pivotel

#pragma once

#include <QStyledItemDelegate>

namespace pivotel {

class PhotoListView;

// Paints the list's cells: the selected row's text 14 pixels bold and italic, the others 12
// plain; the selected row filled with the accent colour, the others white in a light appearance
// and not at all in a dark one; the arrow that marks the action pop-up at the right of the label
// cell; and the thumbnail, drawn at half its size centred at the top of its cell, smaller where
// it would pass the row.
class PhotoListDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit PhotoListDelegate(PhotoListView& view);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    // Public, so that what a row is painted with can be read without painting.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

  private:
    void paintarrow(QPainter* painter, const QStyleOptionViewItem& option) const;
    void paintthumbnail(QPainter* painter, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const;

    PhotoListView& view_;
};

// Room the arrow takes at the right of the label cell.
inline constexpr int arrowwidth = 18;

} // namespace pivotel

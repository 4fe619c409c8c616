#pragma once

#include "preview/thumbnailloader.h"

#include <QStringList>
#include <QTableView>

namespace pivotel {

// The photo list's view: rows with their thumbnails, a pop-up of actions on the label cell (by
// the mouse, or Space or Enter on the current row), a context menu, Delete and Backspace to take
// a row off, Home and End to the first and last row, and drops of files and folders. What these do is the
// window's to decide: the view only tells it.
class PhotoListView : public QTableView {
    Q_OBJECT
  public:
    explicit PhotoListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;
    // The thumbnail to draw for the photo at `path` now, null for none yet or none at all.
    [[nodiscard]] QImage thumbnail(const QString& path);
    ThumbnailLoader& thumbnails() { return loader_; }

  signals:
    // The action pop-up of `row` is asked for, to open at `at` (global coordinates).
    void actionpopup(int row, QPoint at);
    void contextmenu(QPoint at);
    void removerequested();
    // Local files and folders dropped, in the drag's order, up to the first item that isn't one.
    void dropped(const QStringList& paths);
    // Of a drop: how many files aren't photos by their names, and how many items were left
    // out from the first that isn't a file on.
    void refused(qsizetype notjpeg, qsizetype notfile);

  protected:
    void paintEvent(QPaintEvent* event) override;
    // The name column takes the width the others leave, never less than 150: below that the
    // list scrolls sideways.
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void listchanged();

    ThumbnailLoader loader_;
    bool prefetchdue_ = false;
};

} // namespace pivotel

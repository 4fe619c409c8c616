#include "ui/photolistview.h"

#include "photolist/extensions.h"
#include "photolist/photolistmodel.h"
#include "support/nativepath.h"
#include "ui/photolistdelegate.h"

#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTimer>
#include <algorithm>

namespace pivotel {

PhotoListView::PhotoListView(QWidget* parent) : QTableView(parent) {
    setItemDelegate(new PhotoListDelegate(*this));
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DropOnly);
    setDropIndicatorShown(false);
    // Tab leaves the list for the next control: inside it the arrows move.
    setTabKeyNavigation(false);
    connect(&loader_, &ThumbnailLoader::ready, viewport(), qOverload<>(&QWidget::update));
}

void PhotoListView::setModel(QAbstractItemModel* model) {
    QTableView::setModel(model);
    connect(model, &QAbstractItemModel::rowsInserted, this, &PhotoListView::listchanged);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &PhotoListView::listchanged);
    connect(model, &QAbstractItemModel::modelReset, this, &PhotoListView::listchanged);
}

void PhotoListView::listchanged() {
    // An intake adds rows in batches: the list is handed over once per turn of the event loop.
    if (std::exchange(prefetchdue_, true))
        return;
    QTimer::singleShot(0, this, [this] {
        prefetchdue_ = false;
        QStringList paths;
        paths.reserve(model()->rowCount());
        for (int row = 0; row < model()->rowCount(); ++row)
            paths << model()->index(row, PhotoListModel::PathColumn).data().toString();
        loader_.prefetch(paths);
    });
}

QImage PhotoListView::thumbnail(const QString& path) {
    return loader_.lookup(path).picture;
}

bool PhotoListView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Resize && model()) {
        const int rest = viewport()->width() - columnWidth(PhotoListModel::LabelColumn) -
                         columnWidth(PhotoListModel::ThumbnailColumn);
        setColumnWidth(PhotoListModel::NameColumn, std::max(150, rest));
    }
    return QTableView::viewportEvent(event);
}

void PhotoListView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    // Every row in view, also when only a part of it was painted: a wish left out would wait.
    const int first = rowAt(0);
    const int below = rowAt(viewport()->height() - 1);
    const int last = below < 0 ? model()->rowCount() - 1 : below;
    QStringList wanted;
    for (int row = first; row >= 0 && row <= last; ++row) {
        const QString path = model()->index(row, PhotoListModel::PathColumn).data().toString();
        if (loader_.lookup(path).wanted)
            wanted << path;
    }
    loader_.want(wanted);
}

void PhotoListView::mousePressEvent(QMouseEvent* event) {
    QTableView::mousePressEvent(event);
    const QModelIndex cell = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && cell.isValid() && cell.column() == PhotoListModel::LabelColumn)
        emit actionpopup(cell.row(), event->globalPosition().toPoint());
}

void PhotoListView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (currentIndex().isValid()) {
            const QRect cell = visualRect(currentIndex().siblingAtColumn(PhotoListModel::LabelColumn));
            emit actionpopup(currentIndex().row(), viewport()->mapToGlobal(cell.bottomLeft()));
        }
        return;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        emit removerequested();
        return;
    case Qt::Key_Home:
    case Qt::Key_End:
        // The first or last row, not the first or last cell of the row.
        if (model()->rowCount() > 0) {
            const int row = event->key() == Qt::Key_Home ? 0 : model()->rowCount() - 1;
            setCurrentIndex(model()->index(row, PhotoListModel::NameColumn));
        }
        return;
    default:
        QTableView::keyPressEvent(event);
    }
}

void PhotoListView::contextMenuEvent(QContextMenuEvent* event) {
    emit contextmenu(event->globalPos());
}

void PhotoListView::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void PhotoListView::dragMoveEvent(QDragMoveEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void PhotoListView::dropEvent(QDropEvent* event) {
    QStringList paths;
    const QList<QUrl> urls = event->mimeData()->urls();
    qsizetype notjpeg = 0;
    qsizetype taken = 0;
    for (const QUrl& url : urls) {
        // An item that isn't a file ends the drop: what follows it isn't looked at.
        if (!url.isLocalFile())
            break;
        ++taken;
        // The URL's bytes, not toLocalFile(), which would lose a name that isn't UTF-8.
        paths << pathfromnative(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
        if (!QFileInfo(paths.last()).isDir() && !hasextension(paths.last(), extensions::drop()))
            ++notjpeg;
    }
    event->acceptProposedAction();
    emit refused(notjpeg, urls.size() - taken);
    emit dropped(paths);
}

} // namespace pivotel

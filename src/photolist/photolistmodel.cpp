#include "photolist/photolistmodel.h"

#include <algorithm>

namespace pivotel {

bool SelectionRule::takes(Action action) const {
    if (normalprocessall && !uselosslessrotation)
        return true;
    return action != Action::AsIs;
}

PhotoListModel::PhotoListModel(QObject* parent) : QAbstractTableModel(parent) {
}

int PhotoListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int PhotoListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant PhotoListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !hasrow(index.row()))
        return {};
    const PhotoRow& r = rows_[static_cast<size_t>(index.row())];
    if (role == Qt::DisplayRole || role == Qt::EditRole) {
        switch (index.column()) {
        case NameColumn:
            return r.name;
        case LabelColumn:
            return r.unreadable ? QStringLiteral("Fail") : labelof(r.action);
        case PathColumn:
            return r.path;
        default:
            return {};
        }
    }
    if (role == Qt::ToolTipRole && index.column() == NameColumn)
        return r.path;
    // What a screen reader says: a row by its name cell, as the file's name and its action.
    if (role == Qt::AccessibleTextRole) {
        const QString label = data(index.siblingAtColumn(LabelColumn)).toString();
        switch (index.column()) {
        case NameColumn:
            return r.name + QStringLiteral(", ") + label;
        case LabelColumn:
            return label;
        case ThumbnailColumn:
            return QStringLiteral("Thumbnail of ") + r.name;
        default:
            return {};
        }
    }
    if (role == Qt::AccessibleDescriptionRole && index.column() == LabelColumn)
        return QStringLiteral("Space or Enter chooses the action");
    if (role == Qt::ToolTipRole && index.column() == LabelColumn && !r.cue.isEmpty())
        return QStringLiteral("Suggested by the picture: ") + r.cue;
    return {};
}

QVariant PhotoListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return QStringLiteral("Filename");
    case LabelColumn:
        return QStringLiteral("Orientation");
    case PathColumn:
        return QStringLiteral("Full Path");
    case ThumbnailColumn:
        return QStringLiteral(" ");
    default:
        return {};
    }
}

void PhotoListModel::appendrow(const QString& name, Action action, const QString& path, bool fromexif) {
    const int at = static_cast<int>(rows_.size());
    beginInsertRows({}, at, at);
    rows_.push_back({name, action, path, fromexif});
    endInsertRows();
}

void PhotoListModel::appendrows(const std::vector<PhotoRow>& rows) {
    if (rows.empty())
        return;
    const int at = static_cast<int>(rows_.size());
    beginInsertRows({}, at, at + static_cast<int>(rows.size()) - 1);
    rows_.insert(rows_.end(), rows.begin(), rows.end());
    endInsertRows();
}

void PhotoListModel::setaction(qint64 row, Action action) {
    if (!hasrow(row))
        return;
    rows_[static_cast<size_t>(row)].action = action;
    rows_[static_cast<size_t>(row)].fromexif = false;
    rows_[static_cast<size_t>(row)].unreadable = false;
    rows_[static_cast<size_t>(row)].cue.clear();
    const QModelIndex cell = index(static_cast<int>(row), LabelColumn);
    emit dataChanged(cell, cell, {Qt::DisplayRole, Qt::ToolTipRole});
}

void PhotoListModel::setsuggested(qint64 row, Action action, const QString& cue) {
    if (!hasrow(row))
        return;
    setaction(row, action);
    rows_[static_cast<size_t>(row)].cue = cue;
    const QModelIndex cell = index(static_cast<int>(row), LabelColumn);
    emit dataChanged(cell, cell, {Qt::ToolTipRole});
}

void PhotoListModel::setallactions(Action action) {
    if (rows_.empty())
        return;
    for (PhotoRow& r : rows_) {
        r.action = action;
        r.fromexif = false;
        r.unreadable = false;
        r.cue.clear();
    }
    emit dataChanged(index(0, LabelColumn), index(static_cast<int>(rows_.size()) - 1, LabelColumn),
                     {Qt::DisplayRole});
}

void PhotoListModel::setactions(Action action, const std::vector<qint64>& rows) {
    for (const qint64 row : rows)
        setaction(row, action);
}

void PhotoListModel::setrechecked(const std::vector<std::optional<Action>>& results) {
    const size_t n = std::min(results.size(), rows_.size());
    if (n == 0)
        return;
    for (size_t i = 0; i < n; ++i) {
        rows_[i].unreadable = !results[i].has_value();
        rows_[i].action = results[i].value_or(rows_[i].action);
        rows_[i].fromexif = results[i].has_value();
        rows_[i].cue.clear();
    }
    emit dataChanged(index(0, LabelColumn), index(static_cast<int>(n) - 1, LabelColumn), {Qt::DisplayRole});
}

void PhotoListModel::removerow(qint64 row) {
    if (!hasrow(row))
        return;
    beginRemoveRows({}, static_cast<int>(row), static_cast<int>(row));
    rows_.erase(rows_.begin() + row);
    endRemoveRows();
}

void PhotoListModel::clearlist() {
    beginResetModel();
    rows_.clear();
    endResetModel();
}

qint64 PhotoListModel::counttodolist(const SelectionRule& rule) {
    qint64 n = 0;
    for (const PhotoRow& r : rows_) {
        if (rule.takes(r))
            ++n;
    }
    thelistcount_ = n;
    return n;
}

void PhotoListModel::makelist(const SelectionRule& rule) {
    filelist_.clear();
    filelist_.reserve(static_cast<size_t>(thelistcount_));
    for (const PhotoRow& r : rows_) {
        if (rule.takes(r))
            filelist_.push_back(r);
    }
}

} // namespace pivotel

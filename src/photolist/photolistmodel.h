#pragma once

#include "photolist/action.h"

#include <QAbstractTableModel>
#include <QString>
#include <optional>
#include <vector>

namespace pivotel {

// One photo on the list: the texts of the list's columns 0 to 2.
struct PhotoRow {
    QString name;                 // the file's name with its extension
    Action action = Action::AsIs; // shown as its label
    QString path;                 // the POSIX path: the row's identity for every later step
    // The action was read from the photo's EXIF orientation: a run checks that it still holds
    // (another run may have turned the photo since), while a chosen action is carried out as chosen.
    bool fromexif = false;
    // A recheck of the EXIF orientation could not read the file: the row shows "Fail", goes into
    // the run and is reported there as not done, its file untouched.
    bool unreadable = false;
    // The action is the picture check's suggestion, for this cue: "3 faces upright after a
    // quarter turn". Empty for any other action.
    QString cue = {};
};

// The run's packed snapshot of the rows it works on, in list order.
using WorkList = std::vector<PhotoRow>;

// Which rows a run takes: every row in a process-all run (process-all on, lossless off);
// otherwise the rows whose action isn't "As Is".
struct SelectionRule {
    bool normalprocessall = false;
    bool uselosslessrotation = true;
    [[nodiscard]] bool takes(Action action) const;
    [[nodiscard]] bool takes(const PhotoRow& row) const { return row.unreadable || takes(row.action); }
};

// The photo list: the row store the window shows, owned by the main thread. The run never
// reads it; it works on the snapshot `filelist` made just before it starts.
class PhotoListModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    enum Column { NameColumn = 0, LabelColumn = 1, PathColumn = 2, ThumbnailColumn = 3, ColumnCount = 4 };

    explicit PhotoListModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    qint64 count() const { return static_cast<qint64>(rows_.size()); }
    bool hasrow(qint64 row) const { return row >= 0 && row < count(); }
    const PhotoRow& row(qint64 row) const { return rows_.at(static_cast<size_t>(row)); }

    // Appends a row; the list's order is the order of arrival, duplicates included.
    void appendrow(const QString& name, Action action, const QString& path, bool fromexif = false);
    // Appends an intake's batch in one step.
    void appendrows(const std::vector<PhotoRow>& rows);
    void setaction(qint64 row, Action action);
    void setallactions(Action action);
    // The same for the given rows only.
    void setactions(Action action, const std::vector<qint64>& rows);
    // The picture check's suggestion for a row, shown with its cue as the label's tool tip.
    void setsuggested(qint64 row, Action action, const QString& cue);
    // The results of a recheck of the EXIF orientation of the first rows, one per row from row 0:
    // an action, or none when the row's file could not be read.
    void setrechecked(const std::vector<std::optional<Action>>& results);
    // Removes one row; `filelist` keeps what it holds.
    void removerow(qint64 row);
    // Removes every row; `filelist` and `thelistcount` keep what they hold.
    void clearlist();

    // Counts the rows the rule takes, stores the count in `thelistcount` and returns it.
    qint64 counttodolist(const SelectionRule& rule);
    // Fills `filelist` with the rows the rule takes, packed from row 0.
    void makelist(const SelectionRule& rule);
    const WorkList& filelist() const { return filelist_; }
    void resetfilelist() { filelist_.clear(); }
    qint64 thelistcount() const { return thelistcount_; }

  private:
    std::vector<PhotoRow> rows_;
    WorkList filelist_;
    qint64 thelistcount_ = 0;
};

} // namespace pivotel

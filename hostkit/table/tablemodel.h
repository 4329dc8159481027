// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <data/record.h>

#include <QAbstractTableModel>
#include <QList>

#include <functional>
#include <memory>

class Table;
class TableChanges;

namespace sito {

class FilterList;
class TableModelPrivate;

/// The rows of a Table for views: filtered by a FilterList and sorted by columns.
///
/// **Rows.** The model shows the rows that stood in the table's master index when it was made or at the last
/// reload(), and holds handles on them, so that rows stay alive while they are shown. A host calls reload()
/// after it has added, changed or removed rows, or lets the model follow the table, see below. The table is
/// not owned and must outlive the model.
///
/// **Passes.** Filtering and sorting run in threads of parallel::threadPool(); the GUI thread only shows the
/// result. A pass begins when control returns to the event loop, so that several changes in one go make one
/// pass. A change of the filters or the sort keys supersedes a running pass: what is shown is never older
/// than what was shown before. A reload() does not: the running pass is shown, and one more follows. A result
/// is announced by at most one rowsInserted() at the end, one layoutChanged() that brings the rows into their
/// new order, with those that vanish at the end, and one rowsRemoved() there; after a reload() one
/// dataChanged() follows, from the first to the last of the rows that were shown before. So selection,
/// current index and the state of headers stay with their rows. (A current index whose row vanishes is moved
/// to the last row by Qt; ViewAnchor moves it to the nearest one, and keeps the scroll place.)
///
/// **Following.** After follow(), the model takes over what changes in the table, from whatever thread. Only
/// rows that were added or written are asked of the predicates and put in their places; what is unchanged is
/// neither filtered nor sorted again. It does so at most some twenty times a second, and at once after a
/// pause, without the signals of passes: aboutToShow() comes before, changesShown() after. Announced are few
/// runs of rows by rowsRemoved() and rowsInserted() at their places, otherwise by the three steps of a pass;
/// rows that move by one layoutChanged(); and cells that were written by dataChanged(), in one range where
/// they are many. data() gives a written value at once, dataChanged() and the new place follow. Rows that are
/// inserted before others in the master index, and changes of more rows at once than can be kept, lead to a
/// pass as after reload(). Nothing is taken over while what is shown is not up to date, see isUpToDate().
///
/// **Failures.** The rows stay as they were when a pass fails, also for lack of memory; passFailed() says
/// why. If there was no memory left in the middle of the announcements, a reset takes them back.
///
/// **Order.** A sort key orders by Field::compare(), with one addition: a NaN, which equals every double
/// there, comes after all numbers and equals every other NaN. Absent values come first, and all is the other
/// way round in descending order. Rows that are equal in all keys stand in the order of the master index, in
/// ascending and descending order alike. The order is kept when only the filters change: values that were
/// written since the rows were sorted, and not told to a model that follows, count from the next reload() on.
///
/// **Threads.** The model is used from the GUI thread. While a pass reads the rows it holds the table's lock,
/// so that writers who lock wait for it; rows that are shown must not be written while the GUI thread paints
/// them, so they are best written there. A table that is followed may be written in any thread, under its
/// lock: a pass then holds the lock for some milliseconds at a time, and data() takes it for each cell, or
/// readCells() for many, so that the GUI thread waits for a writer; a writer who changes many rows lets go of
/// the lock from time to time. The predicates of the filters are asked from several threads at once. The GUI
/// thread must not hold the table's lock when it calls waitForPass(). Only the constructor and, as said,
/// data() and readCells() wait for that lock.
///
/// **Views.** Sections of equal size make a QTableView with a million rows quick: leave its vertical header
/// in the resize mode Interactive or Fixed, never ResizeToContents. What a pass costs the GUI thread beside
/// painting is some milliseconds for a million rows, but grows with the number of selected rows, since Qt
/// follows each of them (a second or more for a million); a ViewAnchor sees to that.
///
/// **Cost.** A pass asks each predicate for every row; where the rows or the sort keys have changed, it also
/// sorts n rows in n log n. Both are split over threads. The model holds a handle for each row that was
/// listed. To take over k changed rows of n that are followed, in a thread, takes k log n steps and some
/// copies of a list of n numbers, whose memory is kept for the next time; the values by which the rows are
/// sorted are held twice, and rows that were removed are held until about a quarter of all have gone.
class HOSTKIT_EXPORT TableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// A column to sort by, an index of a column of the table.
    struct SortKey
    {
        int column = 0;
        Qt::SortOrder order = Qt::AscendingOrder;

        bool operator==(const SortKey &) const = default;
    };

    /// Roles beside those of Qt; a host's own roles begin at FirstUnusedRole.
    enum Role {
        ColumnRole = Qt::UserRole, ///< int: the table's index of the column; also in the horizontal header
        AbsentRole,                ///< bool: whether the value is absent
        FirstUnusedRole,
    };

    /// A model over the columns \a columns of \a table, in the order shown. It shows all rows at once, in the
    /// order of the master index.
    TableModel(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    /// Stops a running pass and waits for it, but not for a thread that has the table's lock: who deletes the
    /// table after that calls parallel::waitForWaiters().
    ~TableModel() override;

    /// Never null.
    Table *table() const;
    /// The table's column of each section.
    const QList<int> &columns() const;
    /// The section that shows the table's column \a column; -1 when none does.
    int section(int column) const;

    /// The row shown at \a row; null when there is none.
    Record record(int row) const;
    /// Where \a record is shown; -1 when it is not. The first call after the rows were listed takes time in
    /// proportion to them.
    int rowOf(const Record &record) const;
    /// How many rows there are without filters.
    qsizetype totalRowCount() const;
    /// Lists the table's rows again, in a pass, and sorts and filters them. The pass that runs ends first.
    void reload();

    /// Follows \a changes, which tells of the changes of table(), from now on; null for none. It is not owned
    /// and must outlive the model, or follow() be called again before it is deleted. Lists the table's rows
    /// again, as reload() does.
    void follow(TableChanges *changes);
    /// What was given to follow().
    TableChanges *followed() const;

    /// Filters by \a filters, which is not owned and may be deleted at any time; null for none. A pass
    /// follows, and one after each FilterList::changed().
    void setFilters(FilterList *filters);
    /// The list given to setFilters(); null for none, and after it was deleted.
    FilterList *filters() const;

    /// The keys that were set last; a pass that brings the rows into their order may still run.
    QList<SortKey> sortKeys() const;
    /// Sorts by \a keys, the first one first; none for the order of the master index. A pass follows, unless
    /// they are the keys that there were and what is shown is up to date. Each column must exist in the
    /// table.
    void setSortKeys(const QList<SortKey> &keys);

    /// How many threads share a pass at most, if the pool has them to spare; 0, as it is at first, for as
    /// many as parallel::threadPool() may have.
    int threadCount() const;
    /// Counts from the next pass on.
    void setThreadCount(int count);
    /// Whether what is shown is to be replaced: a pass runs or is about to.
    bool isPassRunning() const;
    /// Whether what is shown is as filters(), sortKeys() and the last reload() have it: not while a pass runs
    /// or is about to, nor after one that failed or was given up, until the next one is shown.
    bool isUpToDate() const;
    /// Whether a table that is followed has told of changes that are not shown yet. It remains so as long as
    /// what is shown is not up to date, see isUpToDate().
    bool hasChangesToShow() const;
    /// Blocks until no pass runs or is about to, and shows the result; when the table is followed, also what
    /// was told before the call. Does nothing while a result is being announced.
    void waitForPass();
    /// How long the last finished pass took to list, sort and filter.
    qint64 lastPassNanoseconds() const;
    /// Gives a running pass up; the rows stay as they are until the next one. Emits passCancelled().
    void cancelPass();
    /// In slots of aboutToShow(): the place that the row at \a row will have; -1 when it vanishes.
    int rowAfterPass(int row) const;

    /// Calls \a use, which needs what a view paints of many cells: the rows from \a firstRow to \a lastRow in
    /// \a sections, which are all different. When the table is followed, they are read before that, under its
    /// lock, which is taken once and let go of; data() then answers from them until \a use returns or other
    /// rows are shown. So a view waits once for a writer, and a writer does not wait for the painting.
    void readCells(int firstRow, int lastRow, const QList<int> &sections, const std::function<void()> &use);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    /// The cell as people read it: cellText(), shortened to 501 units for Qt::DisplayRole and in full for
    /// Qt::EditRole; or a muted dash for an absent value, which also has AbsentRole, a font and colour of its
    /// own, and "нет значения" as tool tip and accessible text.
    /// Long texts have themselves as tool tip. Numbers are aligned to the right.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// Columns: their names, with the type as tool tip, and "фильтр включён" as accessible description while
    /// a value filter over the column takes part. Rows: their numbers from 1.
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    /// The names of all roles of data(), for views in QML: those of Qt, such as `display` and `toolTip`, and
    /// `textAlignment`, `textFont`, `textColor`, `accessibleText`, `tableColumn` (ColumnRole) and `absent`
    /// (AbsentRole).
    QHash<int, QByteArray> roleNames() const override;
    /// Makes the column of \a section the first sort key and keeps the other keys behind it; -1 takes all
    /// keys away.
    void sort(int section, Qt::SortOrder order = Qt::AscendingOrder) override;

Q_SIGNALS:
    /// Each passStarted() is followed by one of passFinished(), passFailed() and passCancelled(), or by the
    /// passStarted() of the pass that supersedes it.
    void passStarted();
    /// For passes that last longer than a tenth of a second; 0 to 100, never less than before.
    void passProgress(int percent);
    /// The result of a pass, or what has changed in a table that is followed, is about to be shown; the rows
    /// are still those from before.
    void aboutToShow();
    /// What has changed in a table that is followed is shown.
    void changesShown();
    /// The result of the pass is shown.
    void passFinished();
    /// A filter could not make its predicate, a predicate threw \a message, or there was no memory. The rows
    /// stay as they were. Also comes without a passStarted() of its own.
    void passFailed(const QString &message);
    /// The pass was given up by cancelPass(). The rows stay as they were.
    void passCancelled();

private:
    friend class TableModelPrivate;
    const std::unique_ptr<TableModelPrivate> d;
};

} // namespace sito

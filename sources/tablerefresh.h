// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sources_export.h>

#include <hostkit/parallel/stoptoken.h>

#include <database/cellvalue.h>

#include <QList>

#include <memory>
#include <span>

class MemoryTable;

namespace sito {

/// Brings the differences between a table and its rows as they are now into the table.
///
/// Give all rows to add(), in any order, then call apply(). Rows that are new are appended, those that are
/// gone are removed, and of those that have changed the cells that differ are written. All of it is told
/// through MemoryTable::changes(), so that models that follow the table keep selection and scroll place.
/// A table that is as it should be is not touched. With Additions::AsTheyCome, new rows are appended while
/// they are added.
///
/// **Which row is which.** Rows are matched by the key columns, or by all columns where there are none: then
/// a row that has changed counts as one removed and one added. Rows with equal keys are matched one to one,
/// equal ones first. Values are equal that are stored by the same bits: 1.0 and 1.00, and 0.0 and -0.0,
/// are not, and NaN is itself.
///
/// **A part of the rows.** With Others::Kept, only rows that may be new or changed need be added.
///
/// **Threads.** One object is used by one thread at a time, any thread. Nobody else changes the table as long
/// as it is used; others may read the table. apply(), and add() with Additions::AsTheyCome, hold the lock of
/// the table for some milliseconds at a time, only all rows that are gone are removed in one go. The thread
/// must not hold that lock.
///
/// **Cost.** Rows that differ are held until they are in the table. Beside them, 8 bytes are held for each
/// row that the table had, and 12 more unless all of these rows come first, as they are in the table. Time
/// grows with the number of rows, but with the square of the number of different rows that have one key.
class SOURCES_EXPORT TableRefresh
{
    Q_DISABLE_COPY_MOVE(TableRefresh)
public:
    /// How many rows are new, gone and changed.
    struct Counts
    {
        qint64 added = 0;
        qint64 removed = 0;
        qint64 changed = 0;

        bool operator==(const Counts &) const = default;
    };

    /// When rows that are new are appended to the table.
    enum class Additions {
        AtTheEnd,   ///< by apply(), after the other changes
        AsTheyCome, ///< some thousand at a time by add(), the last ones by apply()
    };

    /// What becomes of rows of the table that were neither added nor kept.
    enum class Others { Removed, Kept };

    /// For \a table, which is not owned, matched by \a keyColumns. When \a stop is requested, every function
    /// throws parallel::Stopped soon, and the table is touched no more; a part of the differences may have
    /// been brought into it by then.
    explicit TableRefresh(MemoryTable &table, const QList<int> &keyColumns = {},
                          const parallel::StopToken &stop = {}, Additions additions = Additions::AtTheEnd);
    /// Does not touch the table.
    ~TableRefresh();

    /// Takes the next row, one value per column. Throws Exception as MemoryTable::append() does.
    void add(std::span<const CellValue> row);
    /// Whether the table had a row with the key \a key, one value per key column, which stays; for keys that
    /// are all different, once all rows that may have changed were added. Throws Exception as
    /// MemoryTable::append() does.
    bool keep(std::span<const CellValue> key);
    /// How many rows were added that the table did not have.
    qint64 newRows() const;
    /// Changes the table so that it holds the rows that were added and kept, and \a others. To be called
    /// once.
    Counts apply(Others others = Others::Removed);

private:
    struct Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> d;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>
#include <sources/sourcerows_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QByteArray>
#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sito {

struct SourceCell;
struct TableShape;

/// A table as its source lists it.
struct SourceTable
{
    QString name;
    /// As statements name it; empty when they cannot.
    QString quotedName;
    /// PostgreSQL: of the object. SQLite: of the first page; virtual tables have none.
    qint64 number = 0;
    /// A view or a foreign table, whose rows are not counted: that would compute or fetch them all.
    bool isView = false;
    /// Which rows are read and counted, as statements of rows() say it; all of them when it is empty.
    QString condition = {};

    /// To be put behind the name in a statement.
    QString where() const { return condition.isEmpty() ? QString() : QLatin1String(" WHERE ") + condition; }
};

/// By what a later reading finds the rows of a table that are new or changed.
struct RowMark
{
    /// What must still be so then, for the mark to count: in a form of the source's own.
    QString identity = {};
    /// Where the rows end that were there; empty when nothing tells.
    QString value = {};
    /// What SourceTable::condition must be to read, and to count, the rows that the mark is about.
    QString condition = {};
    /// Whether it rests on a column that grows, as the user promised, and not on what the source knows.
    bool isPromised = false;
};

/// How long the rows of a table may be counted.
struct CountLimits
{
    parallel::StopToken stop = {};
    /// Whether no statement may last, or wait for a lock, longer than about a second.
    bool isBrief = false;
    /// When the count is given up.
    QDeadlineTimer end = QDeadlineTimer::Forever;
};

/// How one kind of source is asked for its tables and their rows. What fails throws Exception.
class TableSource
{
    Q_DISABLE_COPY_MOVE(TableSource)
public:
    using Table = SourceTable;
    /// How many rows a table has, without counting.
    struct KnownCount
    {
        qint64 rows = -1;
        bool isEstimate = true;
    };
    struct Column
    {
        QString name;
        QString declaredType;
        bool nullable = true;
        /// Whether it belongs to the primary key.
        bool isKey = false;
        /// Its place among the columns of a file that declares no types.
        int place = 0;

        bool operator==(const Column &) const = default;
    };

    virtual ~TableSource() = default;

    /// \a error, which was met in \a table if that has a name, with the name of the source.
    virtual QString errorText(const QString &error, const QString &table) const = 0;
    /// Whether the source still answers.
    virtual bool isAlive() const = 0;
    /// Whether columns declare types, to which a strict load holds them.
    virtual bool declaresTypes() const { return true; }

    /// With views, without the source's own tables, in any order.
    virtual QList<Table> tables() const = 0;
    virtual QList<Column> columns(const Table &table) const = 0;
    /// What \a column becomes; nothing, where \a isStrict, for a type that has no place in a table.
    virtual std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const = 0;
    /// What is known of \a tables at once, by their names.
    virtual QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const = 0;
    /// Nothing when the stop was requested, -1 when the count was given up. Of views only where their rows
    /// were read just before.
    virtual std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const = 0;
    /// Whether the first rows of \a table are there long before the last ones. Not for views.
    virtual bool hasRowsAtOnce(const Table &) const { return true; }
    /// Whether values of \a column that differ, read as texts, have texts that differ and stay what they are.
    virtual bool areTextsDistinct(const Column &) const { return false; }
    /// The values of \a columns in all rows of \a table; \a declared is what columns() gave.
    virtual std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                             const std::vector<SourceColumn> &columns) const = 0;
    /// The bytes of a cell, whose table was loaded as the shape says and has key columns; null when it is
    /// empty, nothing when its value is no bytes. Throws parallel::Stopped when the stop is requested. To be
    /// called in a snapshot; only of sources whose tables may have keys.
    virtual std::optional<QByteArray> bytes(const TableShape &, const SourceCell &,
                                            const parallel::StopToken &) const
    {
        return std::nullopt;
    }
    /// Lines for the user about \a table that are about no column alone.
    virtual QStringList notes(const Table &) const { return {}; }
    /// A text that differs, as long as this object lives, once a row of a table has changed; empty when that
    /// cannot be told without reading. What views compute, and what foreign tables hold, may change without
    /// it; so may files, whose size and time tell of that.
    virtual QString changeMark() const { return {}; }
    /// Keeps \a tables, where the source can do that at once, as they are declared until the snapshot ends.
    /// To be called first in it.
    virtual void hold(const QList<Table> &) const {}
    /// The mark of \a table in the snapshot, before its rows are read; \a declared is what columns() gave.
    /// \a growing is the place of a column in which rows that are new or changed have no smaller value than
    /// the others, or -1.
    virtual RowMark rowMark(const Table &, const QList<Column> &, int) const { return {}; }
    /// What SourceTable::condition must be to read all rows that are new or changed since the snapshot of
    /// \a before, and maybe others; empty when that cannot be told. \a now is the mark of the snapshot.
    virtual QString changedSince(const RowMark &, const RowMark &) const { return {}; }
    /// From now on several readings see the same rows, where the source can do that. The function that is
    /// returned ends it, and must be called.
    virtual std::function<void()> beginSnapshot() const = 0;

protected:
    TableSource() = default;
};

} // namespace sito

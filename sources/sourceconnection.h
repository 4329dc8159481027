// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>
#include <sources/sources_export.h>
#include <sources/tablerefresh.h>

#include <database/columnspec.h>

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class Record;

namespace sito {

class BytesReader;

/// A source of tables, an SQLite file or a database server, that is read in threads of its own. Nothing here
/// blocks the thread that uses it, except the destructor and, for a moment, what ends a refresh(): a tenth of
/// a second at most, or as long as it takes to remove rows from a table.
///
/// **Operations.** Each open(), load(), refresh() and fetchBytes() is answered later, from the event loop, by
/// exactly one signal: its own (opened(), loaded(), refreshed() or bytesFetched()), failed(), or cancelled().
/// One operation runs at a time; to begin another one cancels it.
///
/// **Counts.** When a source is opened its tables are not counted; tables() has what the source knows or
/// estimates without that: PostgreSQL and SQLite since the last ANALYZE, MariaDB and MySQL as their engines
/// do, CSV files exactly. While no operation is under way, the connection of the source counts the tables one
/// by one. counted() is emitted for each, between opened() and the end of the source; never while an
/// operation is under way, which stops the count at once and lets it begin again afterwards. A table that is
/// loaded whole or refreshed is not counted: its rows are known then, and counted() follows loaded() or
/// refreshed(). Views and foreign tables are not counted otherwise. A table keeps what was known of it when
/// counting fails, when it lasts longer than half a minute, when somebody keeps the table locked, and when
/// its rows cannot be counted in portions (SQLite tables WITHOUT ROWID, tables of MariaDB and MySQL without a
/// whole number as their primary key) and are too many for a moment. An SQLite file without a write-ahead log
/// is not written by others while one of its tables is counted.
///
/// **All or nothing.** A source takes the place of the one that was open only when opened() is emitted; until
/// then, and after failed() and cancelled(), location() and tables() are as they were, and so are the loaded
/// tables. A load() adds all its tables to MemoryDatabase::instance() just before loaded(), or none.
///
/// **Loaded tables** belong to MemoryDatabase and stay there when another source is opened and when this
/// object is destroyed. The host drops them with closeTables(), once nothing refers to them any more.
///
/// **Beginnings.** A load() of Extent::Beginning gives the first rows of a large table, soon. The refresh()
/// after it reads the rest: new rows are appended as they come, so models that follow the table show them.
/// isComplete() is false until that refresh() has succeeded; until then, asOf() is the moment of the
/// beginning, though later rows may be newer.
///
/// **Refreshing.** A refresh() reads loaded tables again, all as they are at one moment, and brings what has
/// changed into them, as TableRefresh does; so models that follow MemoryTable::changes() keep their state.
/// Rows are matched by the primary key, where there is one whose values differ as they are shown. Of columns
/// that are shown as texts though they are none, most standard types of PostgreSQL count, but not bytes,
/// ranges and enumerations; and dates, times, decimals, `uuid` and addresses of MariaDB and MySQL. Columns
/// that were made wider than declared stay so. While a table is refreshed, nobody else changes it and nobody
/// takes it out of the catalogue.
///
/// **New and changed rows only.** Of PostgreSQL tables, partitioned ones among them, a refresh() reads only
/// rows that were written since the last refresh(), by `xmin`, and has the server count the rows. When the
/// numbers then differ, rows were removed, and it reads the keys of all of them. It reads all rows when it is
/// the first one since the load or since the connection was made again; when the table was altered or is
/// being altered; of tables without such a primary key; and of tables with columns whose texts may change
/// while the row does not: enumerations, composite types, names of objects, types of extensions.
/// RefreshedTable::rowsRead tells it. A table that somebody else changed in memory may then stay so.
///
/// Of other tables the same is done by setGrowingColumn(), if the user promises that a column grows.
///
/// **Bytes.** Tables hold the number of bytes of a BLOB and the first of them, see TableLoader. fetchBytes()
/// reads all of one cell, in pieces, when they are wanted.
///
/// Whatever a table holds is shown, see TableLoader; columnNotes() tells what is not shown as it is declared.
/// After a server went away, or a file was replaced, the next load() or refresh() connects again.
///
/// **Threads.** All members are called in the thread in which the object lives, which needs an event loop.
/// The source is read in another one.
///
/// **Cost.** Opening asks for the columns of every table. Counting burdens the source with one statement at a
/// time, none longer than about a second, so no operation waits longer for it. Loading holds whole tables in
/// memory; see TableLoader.
class SOURCES_EXPORT SourceConnection : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SourceConnection)
public:
    /// What is known of a table before it is loaded.
    struct TableInfo
    {
        QString name = {};
        /// -1 when nothing is known of it. It is exact, of some moment since the source was opened, unless
        /// isEstimate.
        qint64 rowCount = -1;
        /// Whether rowCount is what the source estimates; it may be far from the truth.
        bool isEstimate = false;
        /// Whether the rows are computed, or fetched from elsewhere, and therefore not counted.
        bool isView = false;
        /// As declared; none when the table cannot be loaded.
        QList<ColumnSpec> columns = {};
        /// Why the table cannot be loaded, or empty.
        QString error = {};

        bool operator==(const TableInfo &) const = default;
    };

    /// How much of a table to load.
    enum class Extent {
        Whole,
        Beginning, ///< no more than rowsOfBeginning rows; of views all, see TableLoader::setRowLimit()
    };
    static constexpr qint64 rowsOfBeginning = 10'000;

    /// What a refresh() has found.
    struct RefreshedTable
    {
        QString name = {};
        /// A moment at which the table was in the source as it is now, see asOf().
        QDateTime asOf = {};
        TableRefresh::Counts counts = {};
        /// How many rows the source gave for it, those that had not changed among them, and of some only the
        /// key.
        qint64 rowsRead = 0;
        /// The source's table has other columns now, or values that do not fit the columns. The loaded table
        /// is as it was, or has some rows more if it was not complete; drop it, see
        /// MemoryDatabase::dropTable(), and load() it again.
        bool isReshaped = false;
    };

    explicit SourceConnection(QObject *parent = nullptr);
    /// Cancels the operation under way and waits for the threads. They end with the current statement of the
    /// database, usually at once. It takes up to ten seconds when a server does not answer the attempt to
    /// connect or when somebody else has locked a table, and as long as SQLite needs to count a large table
    /// WITHOUT ROWID, or PostgreSQL to find the changed rows of a large table.
    ~SourceConnection() override;

    /// Whether what open() opens from now on is read as TableLoader::setStrict() says, with
    /// TableLoader::Digits::AsNeeded; false until it is set.
    void setStrict(bool strict);
    /// Opens \a location and looks at its tables.
    void open(const SourceLocation &location);
    /// Loads those of \a tables that are not loaded yet, as they are at one moment. A table of the same name
    /// that came from elsewhere makes it fail.
    void load(const QStringList &tables, Extent extent = Extent::Whole);
    /// Brings \a tables, which were loaded from the source that is open, up to date. With \a ifChanged, only
    /// those are read in which something may have changed: none of a file or a PostgreSQL server in which
    /// nobody has changed anything since; but views, foreign tables and the tables of other servers always.
    /// After cancel() and failed(), a part of the changes may be in the tables.
    void refresh(const QStringList &tables, bool ifChanged = false);
    /// Promises that every row of \a table that is inserted or changed from now on gets a value in \a column
    /// that is not below any that was there before, or none. Then a refresh() after the next one reads only
    /// the rows with the largest value that it knows, larger ones and none, and has the source count the
    /// rows: if some were removed, it reads all of them. A row that is changed without keeping the promise
    /// stays as it was until all rows are read, and so does one that another transaction commits late, after
    /// larger values. An empty \a column takes the promise back: the next refresh() reads all rows.
    ///
    /// The source compares the values in its own way: SQLite compares moments as texts, so write them in one
    /// form. The promise has no effect on tables of CSV files and of drivers other than those of SQLite,
    /// PostgreSQL, MariaDB and MySQL; on columns that canGrow() refuses; and on columns other than whole
    /// numbers of a table whose rows no primary key tells apart, see above. Of a view all rows are computed
    /// once for the largest value and once for the count. The promise ends with the source; a file that
    /// replaces another one counts as the same source.
    void setGrowingColumn(const QString &table, const QString &column);
    /// Empty when nothing is promised about \a table.
    QString growingColumn(const QString &table) const;
    /// Whether \a column is of whole numbers, decimals or moments.
    static bool canGrow(const ColumnSpec &column);
    /// Reads the bytes that a cell has now: that of \a row, a row of a table that was loaded from the source
    /// that is open, in the column with the index \a column, one of bytesColumns(). The row is found by its
    /// primary key; \a row itself is not needed any more when this returns. Fails when the value is no bytes,
    /// as others may be in a column of SQLite, when there are more than \a limit bytes, and when the row
    /// cannot be found: it was removed, the table is a view or has no primary key, or a column of the key
    /// does not show its values exactly (bytes; dates of SQLite; floating-point numbers of servers).
    void fetchBytes(const Record &row, int column, qint64 limit);
    /// Makes an object that reads such bytes of many cells in another thread; null unless \a table was loaded
    /// from the source that is open.
    std::unique_ptr<BytesReader> bytesReader(const QString &table) const;
    /// Cancels the operation under way, if any: cancelled() is emitted in place of its own signal, even if it
    /// was about to end. A statement that the driver cannot stop goes on for a while, but nothing waits for
    /// it.
    void cancel();
    /// Drops the tables that this object loaded and that are still in MemoryDatabase::instance(). Models,
    /// filters, predicates and records on them must be gone. Their memory is given back in the background,
    /// see parallel::deleteAside().
    void closeTables();

    /// Whether an operation is under way, not yet answered.
    bool isBusy() const;
    /// Whether a source is open.
    bool isOpen() const;
    /// Of the source that is open; without a driver when there is none.
    SourceLocation location() const;
    /// The tables of the source that is open, as opened() gave them, with the counts since; none without a
    /// source.
    QList<TableInfo> tables() const;
    /// The tables in MemoryDatabase that this object loaded, in order, of whatever source.
    QStringList loadedTables() const;
    /// A moment, in UTC, at which the loaded table \a table was in its source as it is here; invalid for a
    /// table that is not loaded.
    QDateTime asOf(const QString &table) const;
    /// Whether all rows of the loaded table \a table were read; false for a table that is not loaded.
    bool isComplete(const QString &table) const;
    /// Lines for the user about a loaded table, see TableLoader::columnNotes().
    QStringList columnNotes(const QString &table) const;
    /// The indices of columns of a loaded table in which bytes are shown by their number and the first of
    /// them, ascending; others may be among the values of these columns. None in a strict load.
    QList<int> bytesColumns(const QString &table) const;

Q_SIGNALS:
    /// Emitted when open() has ended well.
    void opened(const QList<SourceConnection::TableInfo> &tables);
    /// The table \a table has \a rowCount rows, and tables() says so.
    void counted(const QString &table, qint64 rowCount);
    /// \a rowsTotal is what the source said before the first row. It is -1 for a view and a beginning, for
    /// the refresh() of a table that is complete, and for the rest of one that is not counted in a moment.
    /// A table with values that do not fit is counted from 0 once more. Several steps may be reported as one.
    void progress(const QString &table, qint64 rowsRead, qint64 rowsTotal);
    /// \a tables as they were given to load(): they are all in MemoryDatabase::instance() now.
    void loaded(const QStringList &tables);
    /// \a tables in the order given to refresh(). Those in which nothing has changed were not touched.
    void refreshed(const QList<SourceConnection::RefreshedTable> &tables);
    /// The answer to fetchBytes(): the \a bytes in a row of \a table; null when the cell is empty now.
    void bytesFetched(const QString &table, int column, const QByteArray &bytes);
    /// Emitted by cancel() in place of the signal of the operation.
    void cancelled();
    /// \a message is one line, names the source or the table, and holds no password.
    void failed(const QString &message);

private:
    class Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> d;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>
#include <sources/sources_export.h>
#include <sources/tablerefresh.h>

#include <database/columnspec.h>

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace sito {

/// A source of tables, an SQLite file or a database server, that is read in threads of its own. Nothing here
/// blocks the thread that uses it, except the destructor and, for a moment, what ends a refresh(): a tenth of
/// a second at most, or as long as it takes to remove rows from a table.
///
/// **Operations.** Each open(), load() and refresh() is answered later, from the event loop, by exactly one
/// signal: its own (opened(), loaded() or refreshed()), failed(), or cancelled(). One operation runs at a
/// time; to begin another one cancels it.
///
/// **All or nothing.** A source takes the place of the one that was open only when opened() is emitted; until
/// then, and after failed() and cancelled(), location() and tables() are as they were, and so are the loaded
/// tables. A load() adds all its tables to MemoryDatabase::instance() just before loaded(), or none.
///
/// **Loaded tables** belong to MemoryDatabase and stay there when another source is opened and when this
/// object is destroyed. The host drops them with closeTables(), once nothing refers to them any more.
///
/// **Refreshing.** A refresh() reads loaded tables again, all as they are at one moment, and brings what has
/// changed into them, as TableRefresh does; so models that follow MemoryTable::changes() keep their state.
/// Rows are matched by the primary key, where there is one. Columns that were made wider than declared stay
/// so. While a table is refreshed, nobody else changes it and nobody takes it out of the catalogue.
///
/// Whatever a table holds is shown, see TableLoader; columnNotes() tells what is not shown as it is declared.
/// After a server went away, or a file was replaced, the next load() or refresh() connects anew.
///
/// **Threads.** All members are called in the thread in which the object lives, which needs an event loop.
/// The source is read in another one.
///
/// **Cost.** Opening counts the rows of every table. Loading holds whole tables in memory; see TableLoader.
class SOURCES_EXPORT SourceConnection : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SourceConnection)
public:
    /// What is known of a table before it is loaded.
    struct TableInfo
    {
        QString name = {};
        /// When the source was opened; -1 for a view, and when the rows could not be counted.
        qint64 rowCount = -1;
        /// As declared; none when the table cannot be loaded.
        QList<ColumnSpec> columns = {};
        /// Why the table cannot be loaded, or empty.
        QString error = {};

        bool operator==(const TableInfo &) const = default;
    };

    /// What a refresh() has found.
    struct RefreshedTable
    {
        QString name = {};
        /// A moment at which the table was in the source as it is now, see asOf().
        QDateTime asOf = {};
        TableRefresh::Counts counts = {};
        /// The source's table has other columns now, or values that do not fit the columns. The loaded table
        /// is as it was; drop it, see MemoryDatabase::dropTable(), and load() it again.
        bool isReshaped = false;
    };

    explicit SourceConnection(QObject *parent = nullptr);
    /// Cancels the operation under way and waits for the threads. They end with the current statement of the
    /// database, usually at once. It takes up to ten seconds when a server does not answer the attempt to
    /// connect or when somebody else has locked a table, and as long as SQLite needs to count a large table
    /// WITHOUT ROWID.
    ~SourceConnection() override;

    /// Whether what open() opens from now on is read as TableLoader::setStrict() says, with
    /// TableLoader::Digits::AsNeeded; false until it is set.
    void setStrict(bool strict);
    /// Opens \a location and looks at its tables.
    void open(const SourceLocation &location);
    /// Loads those of \a tables that are not loaded yet, as they are at one moment. A table of the same name
    /// that came from elsewhere makes it fail.
    void load(const QStringList &tables);
    /// Brings \a tables, which were loaded from the source that is open, up to date. With \a ifChanged, only
    /// those are read in which something may have changed: none of a file or a PostgreSQL server in which
    /// nobody has changed anything since; but views, foreign tables and the tables of other servers always.
    /// After cancel() and failed(), a part of the changes may be in the tables.
    void refresh(const QStringList &tables, bool ifChanged = false);
    /// Cancels the operation under way, if any: cancelled() is emitted in place of its own signal, even if it
    /// was about to end. A statement that the driver cannot stop goes on for a while, but nothing waits for
    /// it.
    void cancel();
    /// Drops the tables that this object loaded and that are still in MemoryDatabase::instance(). Models,
    /// filters, predicates and records on them must be gone. Waits for threads that still wait for the lock
    /// of a table, see parallel::waitForWaiters().
    void closeTables();

    /// Whether an operation is under way, not yet answered.
    bool isBusy() const;
    /// Whether a source is open.
    bool isOpen() const;
    /// Of the source that is open; without a driver when there is none.
    SourceLocation location() const;
    /// The tables of the source that is open, as opened() gave them; none when there is none.
    QList<TableInfo> tables() const;
    /// The tables in MemoryDatabase that this object loaded, in order, of whatever source.
    QStringList loadedTables() const;
    /// A moment, in UTC, at which the loaded table \a table was in its source as it is here; invalid for a
    /// table that is not loaded.
    QDateTime asOf(const QString &table) const;
    /// Lines for the user about a loaded table, see TableLoader::columnNotes().
    QStringList columnNotes(const QString &table) const;

Q_SIGNALS:
    /// Emitted when open() has ended well.
    void opened(const QList<SourceConnection::TableInfo> &tables);
    /// \a rowsTotal is what the source said before the first row, -1 for a view and for a refresh(). A table
    /// with values that do not fit is counted from 0 once more. Several steps may be reported as one.
    void progress(const QString &table, qint64 rowsRead, qint64 rowsTotal);
    /// \a tables as they were given to load(): they are all in MemoryDatabase::instance() now.
    void loaded(const QStringList &tables);
    /// \a tables in the order given to refresh(). Those in which nothing has changed were not touched.
    void refreshed(const QList<SourceConnection::RefreshedTable> &tables);
    /// Emitted by cancel() in place of the signal of the operation.
    void cancelled();
    /// \a message is one line, names the source or the table, and holds no password.
    void failed(const QString &message);

private:
    class Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> d;
};

} // namespace sito

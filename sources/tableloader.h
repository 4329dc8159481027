// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sources_export.h>

#include <hostkit/parallel/stoptoken.h>

#include <database/columnspec.h>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class MemoryDatabase;
class MemoryTable;

namespace sito {

struct SourceLocation;
struct SourceTable;
class BytesReader;
class TableSource;
struct TableShape;

/// Copies tables of a Qt SQL connection, or of a CSV file, into tables of the in-memory database library.
///
/// **Types.** The declared type of a column decides, upper and lower case alike:
///
/// | declared | becomes |
/// |---|---|
/// | BOOLEAN, TINYINT, SMALLINT, INT, INTEGER | Int |
/// | BIGINT, any unsigned integer | Int64 |
/// | REAL, FLOAT, DOUBLE, DOUBLE PRECISION | Double |
/// | DECIMAL(p,s), NUMERIC(p,s) up to 16 digits | Decimal of s digits after the point (without s: 0) |
/// | the same beyond 16 digits | XDecimal |
/// | DECIMAL, NUMERIC | XDecimal with 10 digits after the point |
/// | CHAR(n), VARCHAR(n) and their kin, n up to 255, strictly up to 32767 | VarChar of n UTF-16 units |
/// | TEXT, CLOB, the above without n or with a larger one | String |
/// | DATETIME, TIMESTAMP | DateTime |
/// | DATE | VarChar of 10 UTF-16 units, "2017-01-31"; strictly: DateTime |
/// | BLOB(n), BINARY(n), VARBINARY(n), n up to 65535 | Raw of n bytes |
/// | BLOB, BYTEA | String; strictly: Block |
/// | anything else, or nothing | String; strictly: refused |
///
/// A column of PostgreSQL counts as its type's full name there; CHAR(n) comes padded with blanks, TIMESTAMP
/// WITH TIME ZONE as the instant in UTC, whatever the zones of the server and the machine, and domains as the
/// types that they rest on. A column admits absent values unless it is declared NOT NULL or belongs to the
/// primary key.
///
/// **Values are never damaged.** What a database holds in a column need not be what the column declares. A
/// column becomes one that holds all its values as they are: an integer column with integers of more than 32
/// bits an Int64, with fractions a Double; a decimal column gets the digits it needs, up to 36; a VarChar
/// column the UTF-16 units, up to 255, beyond which it becomes a String; any column absent values. One with
/// other misfits, such as words among numbers, is shown as texts: each value as the database itself writes
/// it. Bytes are shown by their number and the first 16 of them, "19 bytes: 89 50 4e 47…" in the language of
/// the program; bytes in a text that are not valid as "\\xE9". columnNotes() tells of all this.
///
/// A load that is strict, see setStrict(), fails instead. Misfits are: a text or a fraction in an integer, an
/// integer of more than 32 bits in an Int, more digits than declared, a text that is too long (for these
/// three see Digits) or is not valid, a NUL character in a VarChar, a Raw or Block value of another size, an
/// absent value where none is admitted.
///
/// A binary floating-point number in a decimal column counts as the shortest decimal number that reads back
/// the same. Dates are read by datetime(const QString &), and as ISO 8601 has them: "2017-01-31T14:30",
/// "2017-01-31 14:30:00.125", "2017-01-31T14:30:00Z"; the empty text means no date. Everything else is a
/// misfit: numbers, other forms and zones, times finer than a millisecond, and the very instant 1970-01-01
/// 00:00:00, since DateTime uses it for "no date".
///
/// PostgreSQL's infinite dates, and NaN and the infinities in NUMERIC are misfits, too; its REAL and DOUBLE
/// PRECISION are read with all digits, as the shortest decimal number that is the same to the server.
///
/// MariaDB and MySQL: BIT and YEAR are whole numbers, ENUM, SET and TIME texts, TIMESTAMP the instant in
/// UTC, zero dates misfits; FLOAT is the shortest decimal number that is the same to the server. Shown as
/// bytes are also geometries. A table with a whole number as its primary key is read in portions, in the
/// order of the key; of others and of views the driver copies all rows first, which no load can cancel.
///
/// **CSV files** are one table, named after the file. They declare no types: a column becomes an Int, Int64,
/// Decimal, XDecimal, DateTime, a VarChar of dates "2017-01-31", or else a String, the first of them that
/// holds all its values without loss. Numbers have the digits after the point that the longest of them has;
/// one that begins with a zero or a plus sign or has an exponent is text. A field with nothing in it is
/// absent, a pair of quotation marks is the empty text. A record may be shorter or longer than the first one;
/// columns without a name are called "c1", "c2" by their place. Empty lines among records of several fields
/// are left out. Strict loads give the same. What was added to the file since its columns were asked for is
/// not read.
///
/// **Tables** are views as well. Those of PostgreSQL are of all schemas except the system's, and may be
/// materialized views and foreign tables, too; a partitioned table counts as one. Temporary tables are not
/// listed. A table that the search path finds has its
/// plain name, any other one "schema.table"; a part that contains a point or a quotation mark is written in
/// quotation marks.
///
/// **Names** of SQLite, and of PostgreSQL databases in SQL_ASCII, that are not valid UTF-8 show each such
/// byte as "\\xE9". The columns of SQLite are read like others; a table with such a name is listed, but
/// refused. A column without a name, as sheets leave them, gets one, and one that is named like another a
/// number. A table without a name is refused.
///
/// **Code of others** is not run: all names in statements are qualified, values become texts without casts,
/// and a table of PostgreSQL is refused when reading it would run what belongs neither to the user nor to a
/// superuser: a function in the expressions of its indexes or statistics or in a view, a view, or a foreign
/// table. (An index that is created during the load is not seen.) A view of MariaDB or MySQL is refused
/// that runs with the rights of whoever reads it and is not the user's own. Where row_security is off, a
/// table of which policies hide rows is refused, too.
///
/// **Errors** are thrown as Exception and name the table and, for a value, the row (counted from 1 in the
/// order of reading), the column and the value. Nothing that was loaded before stays behind then; the same
/// holds for a load that is cancelled. The connection may be used as before.
///
/// **Threads.** A loader is used in the thread of its connection; its tables may be handed to any other.
///
/// **Cost.** Whole tables are held in memory. Each row is read once, or again, rarely more than once, where a
/// value did not fit its column.
class SOURCES_EXPORT TableLoader
{
    Q_DECLARE_TR_FUNCTIONS(TableLoader)
    Q_DISABLE_COPY_MOVE(TableLoader)
public:
    /// How far the load of one table has come.
    struct Progress
    {
        QString table;
        qint64 rowsRead = 0;
        /// What the database said before the first row was read; -1 for a view, and when only the
        /// first rows are read.
        qint64 rowsTotal = 0;
    };
    /// Called with the state of the load, in the thread of the loader; false cancels the load.
    using ProgressFunction = std::function<bool(const Progress &)>;

    /// What happens in a strict load to a column whose values need more room than it declares.
    enum class Digits {
        /// The load fails.
        AsDeclared,
        /// A decimal column gets as many digits, on either side of the point, as its values need, up to 36; a
        /// VARCHAR(n) or CHAR(n) column as many UTF-16 units (PostgreSQL counts characters); an Int column
        /// with an integer of more than 32 bits becomes an Int64.
        AsNeeded,
    };

    /// \a connection should be open; an error of the connection appears in the first operation that needs it.
    explicit TableLoader(const QSqlDatabase &connection);
    /// Opens \a location for itself, and throws as SourceDatabase does. The loader then belongs to the thread
    /// that made it, and ends there. A CSV file is read once from its beginning to its end; that throws
    /// parallel::Stopped when \a stop is requested.
    explicit TableLoader(const SourceLocation &location, const parallel::StopToken &stop = {});
    ~TableLoader();

    /// Whether the source still answers, after an error.
    bool isAlive() const;

    /// The names of the tables, by UTF-16 code units; without the database's own.
    QStringList tableNames() const;
    /// The columns of \a table as declared, in their order in the database: those with which load() makes it,
    /// but for what values need that do not fit.
    QList<ColumnSpec> columns(const QString &table) const;
    /// The same as the last load found it, whatever has become of \a table since; none when that load did not
    /// get as far.
    QList<ColumnSpec> loadedColumns(const QString &table) const;
    /// Lines for the user about \a table as the last load found it: its columns and values that are not shown
    /// as they are declared, and why.
    QStringList columnNotes(const QString &table) const;
    /// How many rows \a table has now, counted by the database; -1 for a view and a foreign table, all of
    /// whose rows would have to be computed or fetched for that.
    qint64 rowCount(const QString &table) const;
    /// The same; nothing when \a stop was requested. While the rows of a large table are counted, \a stop is
    /// checked several times a second. (Not for SQLite tables WITHOUT ROWID, nor for tables of MariaDB and
    /// MySQL without a whole number as their primary key, nor for other databases.)
    std::optional<qint64> rowCount(const QString &table, const parallel::StopToken &stop) const;

    /// Whether a type without a counterpart and a value that does not fit its column make the load fail;
    /// false until it is set.
    void setStrict(bool strict);
    /// Digits::AsDeclared until it is set.
    void setDigits(Digits digits);

    /// From now on a load ends after the first \a rows rows of a table; without a value it reads all, as it
    /// does until this is called. A view is read as a whole, and so is a table of which the source does not
    /// give some rows before it has them all.
    void setRowLimit(std::optional<qint64> rows);
    /// Whether the last load read \a table to its end.
    bool isComplete(const QString &table) const;
    /// Makes an object that reads the bytes that \a table, one of the last load, shows in short. It does not
    /// need the loader. Null when that has loaded no table of this name, or was made with a SourceDatabase.
    std::unique_ptr<BytesReader> bytesReader(const MemoryTable &table) const;

    /// \a progress is called for every table before its first row, after every \a interval rows and after the
    /// last row. A table with values that do not fit is read once more, counted from 0 again.
    void setProgress(ProgressFunction progress, qint64 interval = 4096);

    /// A copy of \a table with rows in the order in which the database gives them, read in one transaction
    /// (PostgreSQL: one that sees a single moment) unless one is open already. Null when the load was
    /// cancelled, by the progress function or, from any thread, by \a stop.
    std::unique_ptr<MemoryTable> load(const QString &table, const parallel::StopToken &stop = {}) const;

    /// Copies of \a tables in this order, all as they are at one moment; nothing when the load was cancelled.
    std::optional<std::vector<std::unique_ptr<MemoryTable>>>
    loadAll(const QStringList &tables, const parallel::StopToken &stop = {}) const;

    /// Loads \a tables in this order and adds all of them to \a database, or none of them; false when the
    /// load was cancelled. A name that \a database has already is an error.
    bool load(const QStringList &tables, MemoryDatabase &database,
              const parallel::StopToken &stop = {}) const;

private:
    friend class BytesReader;
    friend class SourceRefresh;
    friend class TableCounts;

    const TableSource &origin() const;
    /// The columns of \a table as declared.
    QList<ColumnSpec> specs(const SourceTable &table) const;
    /// How the last load read \a table; null when it did not get as far.
    std::shared_ptr<const TableShape> shape(const QString &table) const;

    struct Q_DECL_HIDDEN Private;
    const std::unique_ptr<Private> d;
};

} // namespace sito

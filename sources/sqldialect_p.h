// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>
#include <sources/tablesource_p.h>

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

class QSqlError;
class QSqlQuery;

namespace sito {

/// How one kind of database is asked for its tables and their rows by SQL.
class SqlDialect : public TableSource
{
public:
    /// The dialect of the database behind \a connection, which need not be open.
    static std::unique_ptr<SqlDialect> create(const QSqlDatabase &connection);
    ~SqlDialect() override;

    /// Throws what \a error of the connection says, about \a table if there is one.
    [[noreturn]] void fail(const QSqlError &error, const QString &table = {}) const;

    QString errorText(const QString &error, const QString &table) const override;
    bool isAlive() const override;
    std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const override;
    /// Nothing that costs nothing.
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    /// Of the dialect that other databases have, too, which knows no way to count for a moment only.
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    /// That of a growing column.
    RowMark rowMark(const Table &table, const QList<Column> &declared, int growing) const override;
    QString changedSince(const RowMark &before, const RowMark &now) const override;
    /// In pieces, between which it may be stopped. Throws Exception also when the key does not find one row.
    std::optional<QByteArray> bytes(const TableShape &shape, const SourceCell &cell,
                                    const parallel::StopToken &stop) const override;
    /// Leaves a connection alone that is inside a transaction already and so does it itself.
    std::function<void()> beginSnapshot() const override;

protected:
    /// What statements about the bytes of a column consist of.
    struct BytesTexts
    {
        /// How many there are; negative for a value that is none.
        QString size;
        /// Calls the function that gives a part of them, up to the arguments that say which.
        QString substring;
        QString from;
        /// What stands before SELECT.
        QString with = {};
    };

    explicit SqlDialect(const QSqlDatabase &connection);

    const QSqlDatabase &connection() const { return m_connection; }
    /// The connection as messages name it.
    virtual QString sourceName() const;
    /// The database and the server of the connection, for sourceName().
    QString serverName() const;
    /// Carries out \a statement, or fails.
    void execute(QSqlQuery &query, const QString &statement) const;
    /// The condition, as rows() takes it, that the value of \a column is not below the largest one now; empty
    /// when there is no value or the dialect knows no such condition. Throws when \a table cannot be read.
    virtual QString growth(const Table &, const QList<Column> &, int) const { return {}; }
    /// The first value that \a statement about \a table gives, as a text.
    QString text(const QString &statement, const QString &table) const;
    /// The number that \a statement about \a table gives.
    qint64 number(const QString &statement, const QString &table) const;
    /// For the column with the index \a column. Throws Exception when the table must not be read.
    virtual BytesTexts bytesTexts(const TableShape &shape, int column) const;
    /// The condition that a column, which was loaded as \a column says, holds \a value, which it adds to
    /// \a bound if the text has a "?" for it. Empty when no condition finds exactly that value.
    virtual QString keyCondition(const TableShape &shape, int column, const CellValue &value,
                                 QVariantList &bound) const;
    /// \a text in the hexadecimal digits of its UTF-8, which nothing can break out of.
    static QString hexDigits(const QString &text);
    /// Digits, a point and a sign of the decimal or whole number \a value; empty for others.
    static QString plainNumber(const CellValue &value);
    /// "2017-01-31 14:30:00.125" in UTC; empty for what is no date of the years 1 to 9999.
    static QString plainDate(const CellValue &value);
    /// Counts \a table by many statements, since no driver lets one interrupt a statement. \a key is the
    /// quoted name of a column of whole numbers, no two alike, in whose order rows are found quickly; without
    /// one, all rows are counted by one statement, and in brief only those of a table that is small.
    std::optional<qint64> countInPortions(const Table &table, const QString &key,
                                          const CountLimits &limits) const;

private:
    QString keyConditions(const TableShape &shape, const SourceCell &cell, QVariantList &bound) const;
    qint64 countBriefly(const Table &table, const CountLimits &limits) const;

    const QSqlDatabase m_connection;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <optional>

namespace sito {

/// The rows that a statement gives, one after the other, never all in memory at once.
class SqlRows
{
    Q_DISABLE_COPY_MOVE(SqlRows)
public:
    SqlRows(const QSqlDatabase &connection, const QString &statement);
    virtual ~SqlRows();

    /// Once, first. False on an error.
    virtual bool open();
    /// False after the last row and on an error.
    virtual bool next();
    virtual QVariant value(int column) const;
    bool isNull(int column) const { return m_query.isNull(column); }
    /// The bytes that the database holds when they are no text, and \a text, the value of \a column in this
    /// row, is only what the driver made of them; none when they cannot be read.
    virtual std::optional<QByteArray> strayBytes(int column, const QString &text);
    QSqlError lastError() const { return m_query.lastError(); }
    /// After the last row.
    virtual void close();

protected:
    QSqlQuery &query() { return m_query; }
    const QString &statement() const { return m_statement; }

private:
    const QString m_statement;
    QSqlQuery m_query;
};

} // namespace sito

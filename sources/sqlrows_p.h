// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcerows_p.h>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <optional>

class QSqlError;

namespace sito {

/// The rows that a statement gives.
class SqlRows : public SourceRows
{
public:
    SqlRows(const QSqlDatabase &connection, const QString &statement);
    ~SqlRows() override;

    /// What \a error says, in one line.
    static QString textOf(const QSqlError &error);

    bool open() override;
    bool next() override;
    QVariant value(int column) const override;
    bool isNull(int column) const override { return m_query.isNull(column); }
    std::optional<QString> error() const override;

protected:
    QSqlQuery &query() { return m_query; }
    const QString &statement() const { return m_statement; }

private:
    const QString m_statement;
    QSqlQuery m_query;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#include <sources/sqlrows_p.h>

#include <QSqlError>

namespace sito {

SqlRows::SqlRows(const QSqlDatabase &connection, const QString &statement)
    : m_statement(statement), m_query(connection)
{
    m_query.setForwardOnly(true);
    // Some drivers would give decimal numbers as doubles.
    m_query.setNumericalPrecisionPolicy(QSql::HighPrecision);
}

SqlRows::~SqlRows() = default;

QString SqlRows::textOf(const QSqlError &error)
{
    return (error.databaseText().isEmpty() ? error.driverText() : error.databaseText()).simplified();
}

bool SqlRows::open()
{
    return m_query.exec(m_statement);
}

bool SqlRows::next()
{
    return m_query.next();
}

QVariant SqlRows::value(int column) const
{
    return m_query.value(column);
}

std::optional<QString> SqlRows::error() const
{
    const QSqlError error = m_query.lastError();
    return error.isValid() ? std::optional(textOf(error)) : std::nullopt;
}

} // namespace sito

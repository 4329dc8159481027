// SPDX-License-Identifier: MIT
#include <sources/postgresrows_p.h>

#include <sources/bytestext_p.h>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int rowsAtOnce = 4096;

} // namespace

PostgresRows::PostgresRows(const QSqlDatabase &connection, const QString &statement,
                           std::vector<Column> columns)
    : SqlRows(connection, statement), m_columns(std::move(columns))
{
    query().setForwardOnly(false);
}

bool PostgresRows::open()
{
    return query().exec(u"DECLARE sito_rows NO SCROLL CURSOR FOR "_s + statement()) && fetch();
}

bool PostgresRows::next()
{
    if (query().next())
        return true;
    return m_fetched == rowsAtOnce && fetch() && query().next();
}

QVariant PostgresRows::value(int column) const
{
    QVariant value = SqlRows::value(column);
    const Column &kind = m_columns[size_t(column)];
    if (value.isNull())
        return value;
    if (kind.sizeColumn >= 0)
        return QVariant::fromValue(
            BytesStart{SqlRows::value(kind.sizeColumn).toLongLong(), value.toByteArray()});
    if (kind.isBytes)
        return QString::fromUtf8(value.toByteArray()).sliced(1);
    return kind.isText ? QVariant(value.toString().sliced(1)) : value;
}

std::optional<QByteArray> PostgresRows::strayBytes(int column, const QString &text)
{
    if (!m_columns[size_t(column)].isBytes || !text.contains(QChar::ReplacementCharacter))
        return std::nullopt;
    const QByteArray bytes = SqlRows::value(column).toByteArray().sliced(1);
    return bytes == text.toUtf8() ? std::nullopt : std::optional(bytes);
}

void PostgresRows::close()
{
    query().exec(u"CLOSE sito_rows"_s);
}

bool PostgresRows::fetch()
{
    const bool isGood = query().exec(u"FETCH FORWARD %1 FROM sito_rows"_s.arg(rowsAtOnce));
    m_fetched = isGood ? query().size() : 0;
    return isGood;
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <sources/postgresrows_p.h>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int rowsAtOnce = 4096;

} // namespace

PostgresRows::PostgresRows(const QSqlDatabase &connection, const QString &statement, std::vector<bool> texts)
    : SqlRows(connection, statement), m_texts(std::move(texts))
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
    if (!m_texts[size_t(column)] || value.isNull())
        return value;
    return value.toString().sliced(1);
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

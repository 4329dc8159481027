// SPDX-License-Identifier: MIT
#include <sources/sqliterows_p.h>

#include <algorithm>

namespace sito {

namespace {

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character < QChar(0x80); });
}

} // namespace

SqliteRows::SqliteRows(const QSqlDatabase &connection, const QString &statement,
                       const QString &bytesStatement)
    : SqlRows(connection, statement), m_bytesStatement(bytesStatement), m_bytes(connection)
{
    m_bytes.setForwardOnly(true);
}

bool SqliteRows::next()
{
    ++m_row;
    return SqlRows::next();
}

bool SqliteRows::isText(int column, const QString &text)
{
    if (m_bytesStatement.isEmpty() || isAscii(text))
        return true;
    if (m_bytesRow < 0 && !m_bytes.exec(m_bytesStatement))
        return false;
    for (; m_bytesRow < m_row; ++m_bytesRow) {
        if (!m_bytes.next())
            return false;
    }
    return m_bytes.value(column).toByteArray() == text.toUtf8();
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <sources/sqliterows_p.h>

#include <sources/bytestext_p.h>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character < QChar(0x80); });
}

} // namespace

SqliteRows::SqliteRows(const QSqlDatabase &connection, const QString &statement,
                       const QString &bytesStatement, std::vector<int> sizeColumns)
    : SqlRows(connection, statement),
      m_bytesStatement(bytesStatement),
      m_sizeColumns(std::move(sizeColumns)),
      m_bytes(connection)
{
    m_bytes.setForwardOnly(true);
}

bool SqliteRows::next()
{
    ++m_row;
    return SqlRows::next();
}

QVariant SqliteRows::value(int column) const
{
    if (m_sizeColumns.empty())
        return SqlRows::value(column);
    QVariant value = SqlRows::value(column);
    const int sizeColumn = m_sizeColumns[size_t(column)];
    if (sizeColumn < 0 || (value.typeId() == QMetaType::QString && !value.isNull()))
        return value;
    // substr() makes NULL of no bytes.
    const QVariant size = SqlRows::value(sizeColumn);
    if (size.isNull())
        return value;
    return QVariant::fromValue(BytesStart{size.toLongLong(), value.toByteArray()});
}

std::optional<QByteArray> SqliteRows::strayBytes(int column, const QString &text)
{
    if (m_bytesStatement.isEmpty() || isAscii(text))
        return std::nullopt;
    if (m_bytesRow < 0 && !m_bytes.exec(m_bytesStatement))
        return QByteArray();
    for (; m_bytesRow < m_row; ++m_bytesRow) {
        if (!m_bytes.next())
            return QByteArray();
    }
    const QByteArray bytes = m_bytes.value(column).toByteArray();
    // Where a view gives other values each time, the bytes are those of another text.
    if (bytes == text.toUtf8() || QString::fromUtf8(bytes).toUtf8() == bytes)
        return std::nullopt;
    return bytes;
}

} // namespace sito

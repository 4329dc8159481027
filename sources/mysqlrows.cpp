// SPDX-License-Identifier: MIT
#include <sources/mysqlrows_p.h>

#include <sources/bytestext_p.h>

#include <QByteArray>
#include <QSqlRecord>

#include <array>
#include <charconv>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int rowsOfAPortion = 32'768;

/// The double whose shortest text is that of the float \a number.
double shortestDouble(double number)
{
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), float(number)).ptr;
    double result = number;
    std::from_chars(digits.data(), end, result);
    return result;
}

} // namespace

MysqlRows::MysqlRows(const QSqlDatabase &connection, const QString &statement, const QString &key,
                     std::vector<Column> columns)
    : SqlRows(connection, statement), m_key(key), m_columns(std::move(columns))
{
}

bool MysqlRows::open()
{
    return readPortion({});
}

bool MysqlRows::readPortion(const QString &condition)
{
    m_rows = 0;
    return query().exec(m_key.isEmpty()
                            ? statement()
                            : statement() + condition +
                                  u" ORDER BY %1 LIMIT %2"_s.arg(m_key, QString::number(rowsOfAPortion)));
}

bool MysqlRows::next()
{
    if (!query().next()) {
        if (m_key.isEmpty() || m_rows < rowsOfAPortion ||
            !readPortion(u" AND %1 > %2"_s.arg(m_key, m_lastKey)) || !query().next())
            return false;
    }
    // Digits and a sign: the key is a whole number.
    if (!m_key.isEmpty() && ++m_rows == rowsOfAPortion)
        m_lastKey = SqlRows::value(query().record().count() - 1).toString();
    return true;
}

QVariant MysqlRows::value(int column) const
{
    if (isNull(column))
        return {};
    const Column &kind = m_columns[size_t(column)];
    switch (kind.kind) {
    case Column::Plain:
        break;
    case Column::Text:
        return text(column).sliced(1);
    case Column::Double:
        return text(column).sliced(1).toDouble();
    case Column::Float:
        return shortestDouble(text(column).sliced(1).toDouble());
    case Column::Bytes:
        return QVariant::fromValue(
            BytesStart{SqlRows::value(kind.sizeColumn).toLongLong(), SqlRows::value(column).toByteArray()});
    }
    return SqlRows::value(column);
}

/// The driver gives texts of which upper and lower case count as bytes.
QString MysqlRows::text(int column) const
{
    const QVariant value = SqlRows::value(column);
    return value.typeId() == QMetaType::QByteArray ? QString::fromUtf8(value.toByteArray())
                                                   : value.toString();
}

} // namespace sito

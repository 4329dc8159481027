// SPDX-License-Identifier: MIT
#include <sources/sqldialect_p.h>

#include <sources/sourcecell_p.h>
#include <sources/sourceconnection.h>
#include <sources/tableshape_p.h>

#include <data/exception.h>

#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

// How an SqlDialect reads the bytes of one cell.

namespace {

/// A server may refuse to send much more at a time.
constexpr qint64 bytesAtOnce = 4 << 20;

} // namespace

QString SqlDialect::hexDigits(const QString &text)
{
    return QString::fromLatin1(text.toUtf8().toHex());
}

QString SqlDialect::plainNumber(const CellValue &value)
{
    if (const auto *number = std::get_if<qint32>(&value))
        return QString::number(*number);
    if (const auto *number = std::get_if<qint64>(&value))
        return QString::number(*number);
    if (const auto *number = std::get_if<decimal>(&value))
        return number->toString();
    if (const auto *number = std::get_if<xdecimal>(&value))
        return number->toString();
    return {};
}

QString SqlDialect::plainDate(const CellValue &value)
{
    const auto *date = std::get_if<datetime>(&value);
    QString text = date ? date->toUtcString() : QString();
    if (text.isEmpty() || text.startsWith(u'@'))
        return {};
    text[4] = text[7] = u'-';
    return text;
}

SqlDialect::BytesTexts SqlDialect::bytesTexts(const TableShape &, int) const
{
    return {};
}

QString SqlDialect::keyCondition(const TableShape &, int, const CellValue &, QVariantList &) const
{
    return {};
}

/// Throws when no condition finds exactly the values of the key in the row of \a cell.
QString SqlDialect::keyConditions(const TableShape &shape, const SourceCell &cell, QVariantList &bound) const
{
    QStringList conditions;
    for (qsizetype i = 0; i < shape.declared.size(); ++i) {
        const SourceColumn &column = shape.columns[size_t(i)];
        const CellValue &value = cell.row.at(size_t(i));
        if (!shape.declared.at(i).isKey)
            continue;
        if (std::holds_alternative<std::monostate>(value)) {
            throw Exception(
                SourceConnection::tr("Ключ строки пуст (таблица «%1», столбец «%2»), её не найти, чтобы "
                                     "прочитать значение целиком")
                    .arg(cell.table, column.spec().name));
        }
        const QString condition = column.hasBytes() || column.hasStrayBytes()
                                      ? QString()
                                      : keyCondition(shape, int(i), value, bound);
        if (condition.isEmpty()) {
            throw Exception(
                SourceConnection::tr("По столбцу «%1» ключа таблицы «%2» строку не найти, чтобы прочитать "
                                     "значение целиком")
                    .arg(column.spec().name, cell.table));
        }
        conditions.append(u'(' + condition + u')');
    }
    return conditions.join(u" AND "_s);
}

std::optional<QByteArray> SqlDialect::bytes(const TableShape &shape, const SourceCell &cell,
                                            const parallel::StopToken &stop) const
{
    QVariantList bound;
    const QString where = u" WHERE "_s + keyConditions(shape, cell, bound);
    const BytesTexts texts = bytesTexts(shape, cell.column);
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    const auto ask = [&](const QString &expression) {
        const QString statement = texts.with + u"SELECT "_s + expression + texts.from + where + u" LIMIT 2"_s;
        bool isGood = false;
        if (bound.isEmpty()) {
            isGood = query.exec(statement);
        } else if (query.prepare(statement)) {
            for (const QVariant &value : std::as_const(bound))
                query.addBindValue(value);
            isGood = query.exec();
        }
        if (!isGood)
            fail(query.lastError(), cell.table);
        stop.throwIfStopped();
        if (!query.next()) {
            throw Exception(
                SourceConnection::tr("Строки уже нет в таблице «%1»: она удалена, или её ключ изменён")
                    .arg(cell.table));
        }
    };
    ask(texts.size);
    const QVariant told = query.value(0);
    const bool isAbsent = told.isNull();
    const qint64 size = told.toLongLong();
    if (query.next())
        throw Exception(SourceConnection::tr("В таблице «%1» несколько строк с этим ключом").arg(cell.table));
    if (isAbsent)
        return QByteArray();
    if (size < 0)
        return std::nullopt;
    if (size > cell.limit) {
        throw Exception(SourceConnection::tr("Значение занимает %1 Б, а прочитать можно не больше %2 Б")
                            .arg(QString::number(size), QString::number(cell.limit)));
    }
    QByteArray result("");
    result.reserve(size);
    while (result.size() < size) {
        ask(texts.substring + u", "_s + QString::number(result.size() + 1) + u", "_s +
            QString::number(std::min(bytesAtOnce, size - result.size())) + u')');
        const QByteArray piece = query.value(0).toByteArray();
        // Where the source has no snapshots.
        if (piece.isEmpty())
            throw Exception(SourceConnection::tr("Значение изменилось, пока его читали"));
        result += piece;
    }
    return result;
}

} // namespace sito

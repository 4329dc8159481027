// SPDX-License-Identifier: MIT
#include <sources/mysqldialect_p.h>

#include <sources/bytestext_p.h>
#include <sources/mysqlrows_p.h>
#include <sources/tableloader.h>
#include <sources/tableshape_p.h>

#include <data/exception.h>

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

QString backquoted(const QString &name)
{
    return u'`' + QString(name).replace(u'`', u"``"_s) + u'`';
}

/// The condition that a column holds the name of \a table, in upper and lower case as it is. The name stands
/// there in hexadecimal digits, which nothing can break out of.
QString isTable(const QString &table)
{
    const QString name = u"CONVERT(x'%1' USING utf8mb4)"_s.arg(QString::fromLatin1(table.toUtf8().toHex()));
    return u"TABLE_SCHEMA = DATABASE() AND TABLE_NAME = %1 AND BINARY TABLE_NAME = BINARY %1"_s.arg(name);
}

/// What a type of the server that others do not have is read as; the type itself otherwise. \a kind is its
/// name alone.
QString readAs(const QString &kind, const QString &declaredType, qint64 characters)
{
    if (kind == "year"_L1)
        return u"smallint"_s;
    if (kind == "bit"_L1)
        return u"bigint unsigned"_s;
    if (kind == "enum"_L1 || kind == "set"_L1)
        return u"varchar(%1)"_s.arg(characters);
    return declaredType;
}

/// Whether values of the type \a declaredType are bytes.
bool holdsBytes(const QString &declaredType)
{
    const QString kind = declaredType.section(u'(', 0, 0);
    return kind.endsWith("blob"_L1) || kind.endsWith("binary"_L1) || kind.endsWith("point"_L1) ||
           kind.endsWith("linestring"_L1) || kind.endsWith("polygon"_L1) || kind == "geometry"_L1 ||
           kind == "geometrycollection"_L1 || kind == "geomcollection"_L1 || kind == "vector"_L1;
}

} // namespace

QString MysqlDialect::sourceName() const
{
    return serverName();
}

QList<SqlDialect::Table> MysqlDialect::tables() const
{
    if (!connection().isOpen())
        fail(connection().lastError());
    QList<Table> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, u"SELECT TABLE_NAME, TABLE_TYPE, DATABASE() FROM information_schema.TABLES "
                   "WHERE TABLE_SCHEMA = DATABASE() AND TABLE_TYPE <> 'SEQUENCE'"_s);
    while (query.next()) {
        const QString name = query.value(0).toString();
        result.append({.name = name,
                       .quotedName = backquoted(query.value(2).toString()) + u'.' + backquoted(name),
                       .isView = query.value(1).toString().endsWith("VIEW"_L1)});
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

/// Throws when \a table is a view that would do with the rights of this user what another one wrote into it.
/// Other views have the rights of their owner.
void MysqlDialect::checkView(const Table &table) const
{
    if (table.isView &&
        number(u"SELECT count(*) FROM information_schema.VIEWS WHERE %1 AND "
               "SECURITY_TYPE = 'INVOKER' AND DEFINER <> CURRENT_USER()"_s.arg(isTable(table.name)),
               table.name) > 0) {
        throw Exception(TableLoader::tr("Таблица «%1»: чтение выполнило бы с правами текущего пользователя "
                                        "представление другого")
                            .arg(table.name));
    }
}

QList<SqlDialect::Column> MysqlDialect::columns(const Table &table) const
{
    checkView(table);
    QList<Column> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query,
            u"SELECT COLUMN_NAME, DATA_TYPE, COLUMN_TYPE, CHARACTER_MAXIMUM_LENGTH, IS_NULLABLE, "
            "COLUMN_KEY = 'PRI' FROM "
            "information_schema.COLUMNS WHERE %1 ORDER BY ORDINAL_POSITION"_s.arg(isTable(table.name)));
    while (query.next()) {
        result.append({.name = query.value(0).toString(),
                       .declaredType = readAs(query.value(1).toString(), query.value(2).toString(),
                                              query.value(3).toLongLong()),
                       .nullable = query.value(4).toString() == "YES"_L1,
                       .isKey = query.value(5).toBool()});
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

std::optional<SourceColumn> MysqlDialect::sourceColumn(const Column &column, bool isStrict) const
{
    auto result = SqlDialect::sourceColumn(column, isStrict);
    if (result)
        result->takeServerTexts();
    return result;
}

bool MysqlDialect::areTextsDistinct(const Column &column) const
{
    static const QStringList types{u"date"_s,    u"time"_s, u"datetime"_s, u"timestamp"_s,
                                   u"decimal"_s, u"uuid"_s, u"inet4"_s,    u"inet6"_s};
    return types.contains(column.declaredType.section(u'(', 0, 0));
}

bool MysqlDialect::hasRowsAtOnce(const Table &table) const
{
    return !keyOf(table).isEmpty();
}

/// What the engines of tables estimate.
QHash<QString, TableSource::KnownCount> MysqlDialect::knownCounts(const QList<Table> &) const
{
    QHash<QString, KnownCount> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    query.exec(u"SELECT TABLE_NAME, TABLE_ROWS FROM information_schema.TABLES "
               "WHERE TABLE_SCHEMA = DATABASE() AND TABLE_TYPE = 'BASE TABLE' AND TABLE_ROWS > 0"_s);
    while (query.next())
        result.insert(query.value(0).toString(), {.rows = query.value(1).toLongLong()});
    return result;
}

std::optional<qint64> MysqlDialect::rowCount(const Table &table, const CountLimits &limits) const
{
    QSqlQuery query(connection());
    // One server has seconds, the other one milliseconds; each knows only its own variable.
    const auto setLimits = [&query](const QString &lock, const QString &seconds,
                                    const QString &milliseconds) {
        query.exec(u"SET SESSION lock_wait_timeout = "_s + lock);
        if (!query.exec(u"SET SESSION max_statement_time = "_s + seconds))
            query.exec(u"SET SESSION max_execution_time = "_s + milliseconds);
    };
    QString lockSeconds;
    if (limits.isBrief && query.exec(u"SELECT @@SESSION.lock_wait_timeout"_s) && query.next())
        lockSeconds = query.value(0).toString();
    const auto restored = qScopeGuard([&setLimits, &lockSeconds] {
        if (!lockSeconds.isEmpty())
            setLimits(lockSeconds, u"DEFAULT"_s, u"DEFAULT"_s);
    });
    if (!lockSeconds.isEmpty())
        setLimits(u"1"_s, u"1"_s, u"1000"_s);
    const auto snapshot = qScopeGuard(limits.isBrief ? beginSnapshot() : [] {});
    return countInPortions(table, keyOf(table), limits);
}

/// The key of \a table, quoted, if that is one whole number; empty otherwise.
QString MysqlDialect::keyOf(const Table &table) const
{
    if (table.isView)
        return {};
    QSqlQuery query(connection());
    execute(query, u"SELECT COLUMN_NAME, DATA_TYPE LIKE '%int' FROM information_schema.COLUMNS WHERE %1 AND "
                   "COLUMN_KEY = 'PRI'"_s.arg(isTable(table.name)));
    if (!query.next() || !query.value(1).toBool())
        return {};
    const QString key = backquoted(query.value(0).toString());
    return query.next() ? QString() : key;
}

QString MysqlDialect::growth(const Table &table, const QList<Column> &declared, int column) const
{
    const QString name = backquoted(declared.at(column).name);
    const QString largest =
        text(u"SELECT CONCAT('=', MAX(%1)) FROM %2"_s.arg(name, table.quotedName), table.name);
    static const QRegularExpression number(u"^=-?[0-9]+([.][0-9]+)?$"_s);
    static const QRegularExpression moment(u"^=[-0-9:. ]+$"_s);
    if (!moment.match(largest).hasMatch())
        return {};
    const QString quote = number.match(largest).hasMatch() ? QString() : u"'"_s;
    return u"(%1 >= %2%3%2 OR %1 IS NULL)"_s.arg(name, quote, largest.sliced(1));
}

std::unique_ptr<SourceRows> MysqlDialect::rows(const Table &table, const QList<Column> &declared,
                                               const std::vector<SourceColumn> &columns) const
{
    using Read = MysqlRows::Column;
    QStringList values;
    QStringList sizes;
    std::vector<Read> reads;
    for (size_t i = 0; i < columns.size(); ++i) {
        const QString name = backquoted(declared.at(qsizetype(i)).name);
        const QString &declaredType = declared.at(qsizetype(i)).declaredType;
        const FieldType::Type type = columns[i].spec().type;
        const bool isBytes = holdsBytes(declaredType);
        if (isBytes && columns[i].isShownAsText()) {
            values.append(u"SUBSTRING(%1, 1, %2)"_s.arg(name, QString::number(BytesStart::shown)));
            sizes.append(u"LENGTH(%1)"_s.arg(name));
            reads.push_back({Read::Bytes, int(columns.size() + size_t(sizes.size()) - 1)});
        } else if (!isBytes &&
                   (columns[i].isShownAsText() || columns[i].isText() || type == FieldType::DateTime)) {
            // As the server writes it: the driver makes no date of a zero date, and takes U+FEFF at the front
            // for a mark of the encoding.
            values.append(u"CONCAT('=', %1)"_s.arg(name));
            reads.push_back({Read::Text});
        } else if (type == FieldType::Double) {
            // The server would write six digits of a float.
            const bool isFloat = declaredType.startsWith("float"_L1);
            values.append(u"CONCAT('=', %1)"_s.arg(isFloat ? u"CAST(%1 AS DOUBLE)"_s.arg(name) : name));
            reads.push_back({isFloat ? Read::Float : Read::Double});
        } else if (type == FieldType::Int || type == FieldType::Int64) {
            // Of bits and years, numbers; of the smallest integers, no characters.
            values.append(name + u" + 0"_s);
            reads.push_back({});
        } else {
            values.append(name);
            reads.push_back({});
        }
    }
    const QString key = keyOf(table);
    // Behind a condition the rows put another one.
    const QString where = table.condition.isEmpty() ? u" WHERE true"_s : table.where();
    QStringList all = values + sizes;
    if (!key.isEmpty())
        all.append(key);
    return std::make_unique<MysqlRows>(
        connection(), u"SELECT "_s + all.join(u", "_s) + u" FROM "_s + table.quotedName + where, key,
        std::move(reads));
}

SqlDialect::BytesTexts MysqlDialect::bytesTexts(const TableShape &shape, int column) const
{
    const QString name = backquoted(shape.declared.at(column).name);
    return {.size = u"LENGTH(%1)"_s.arg(name),
            .substring = u"SUBSTRING("_s + name,
            .from = u" FROM "_s + shape.table.quotedName};
}

/// What is read as a number of binary fractions is no key: the server rounds where it compares.
QString MysqlDialect::keyCondition(const TableShape &shape, int column, const CellValue &value,
                                   QVariantList &) const
{
    const QString name = backquoted(shape.declared.at(column).name);
    if (const auto *text = std::get_if<QString>(&value)) {
        // The server reads the text as a value where texts tell these apart; then an index finds it. But it
        // may compare a decimal with a text as binary fractions.
        const TableSource::Column &declared = shape.declared.at(column);
        const bool isComparable =
            !shape.columns[size_t(column)].isShownAsText() ||
            (areTextsDistinct(declared) && !declared.declaredType.startsWith("decimal"_L1));
        return (isComparable ? name : u"CONCAT('', %1)"_s.arg(name)) + u" = _utf8mb4 x'"_s +
               hexDigits(*text) + u'\'';
    }
    if (const QString date = plainDate(value); !date.isEmpty())
        return name + u" = '"_s + date + u'\'';
    const QString number = plainNumber(value);
    return number.isEmpty() ? number : name + u" = "_s + number;
}

std::function<void()> MysqlDialect::beginSnapshot() const
{
    QSqlQuery query(connection());
    // Only MariaDB knows whether a transaction is open.
    if (query.exec(u"SELECT @@in_transaction"_s) && query.next() && query.value(0).toInt() != 0)
        return [] {};
    if (!query.exec(u"START TRANSACTION WITH CONSISTENT SNAPSHOT, READ ONLY"_s))
        return [] {};
    return [connection = connection()] {
        // A connection that was lost takes its transaction with it.
        QSqlQuery(connection).exec(u"ROLLBACK"_s);
    };
}

} // namespace sito

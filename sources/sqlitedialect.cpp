// SPDX-License-Identifier: MIT
#include <sources/sqlitedialect_p.h>

#include <sources/bytestext_p.h>
#include <sources/sqliterows_p.h>
#include <sources/tableshape_p.h>

#include <QByteArray>
#include <QScopeGuard>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// A quoted name may be taken for a text where a column is meant, but not where a table is.
QString quotedTable(const QString &name)
{
    return u"main.\""_s + QString(name).replace(u'"', u"\"\""_s) + u'"';
}

/// Columns are told by their positions: a quoted name that is not found would be a text, and a name that is
/// no UTF-8 cannot be written.
QString columnName(qsizetype position)
{
    return u'c' + QString::number(position);
}

/// What gives the columns of \a table these names, in a table "r".
QString named(qsizetype columns, const SourceTable &table)
{
    QStringList names;
    for (qsizetype i = 0; i < columns; ++i)
        names.append(columnName(i));
    return u"WITH r(%1) AS (SELECT * FROM %2) "_s.arg(names.join(u", "_s), table.quotedName);
}

} // namespace

bool SqliteDialect::isUtf8() const
{
    QSqlQuery query(connection());
    return query.exec(u"PRAGMA encoding"_s) && query.next() && query.value(0).toString() == "UTF-8"_L1;
}

QList<SqlDialect::Table> SqliteDialect::tables() const
{
    if (!connection().isOpen())
        fail(connection().lastError());
    const bool isUtf8 = this->isUtf8();
    QList<Table> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, u"SELECT name, rootpage, CAST(name AS BLOB), type = 'view' FROM sqlite_master "
                   "WHERE type IN ('table', 'view') AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"_s);
    while (query.next()) {
        const QByteArray bytes = query.value(2).toByteArray();
        const QString name = isUtf8 ? textOfUtf8(bytes) : query.value(0).toString();
        const bool isText = !isUtf8 || name.toUtf8() == bytes;
        result.append({name, isText ? quotedTable(name) : QString(), query.value(1).toLongLong(),
                       query.value(3).toBool()});
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

QList<SqlDialect::Column> SqliteDialect::columns(const Table &table) const
{
    const bool isUtf8 = this->isUtf8();
    QList<Column> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    // Columns that are hidden in "SELECT *", those of virtual tables, have hidden = 1.
    if (!query.prepare(u"SELECT name, type, \"notnull\", pk, CAST(name AS BLOB) FROM pragma_table_xinfo(?) "
                       "WHERE hidden <> 1 ORDER BY cid"_s))
        fail(query.lastError(), table.name);
    query.addBindValue(table.name);
    if (!query.exec())
        fail(query.lastError(), table.name);
    while (query.next()) {
        const bool isKey = query.value(3).toInt() > 0;
        const bool nullable = query.value(2).toInt() == 0 && !isKey;
        result.append({isUtf8 ? textOfUtf8(query.value(4).toByteArray()) : query.value(0).toString(),
                       query.value(1).toString(), nullable, isKey});
    }
    if (query.lastError().isValid())
        fail(query.lastError(), table.name);
    return result;
}

QString SqliteDialect::rowNumberName(const Table &table) const
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    if (table.number == 0 || !query.prepare(u"SELECT name FROM pragma_table_xinfo(?)"_s))
        return {};
    query.addBindValue(table.name);
    if (!query.exec())
        return {};
    QStringList columns;
    while (query.next())
        columns.append(query.value(0).toString());
    for (const QString &name : {u"rowid"_s, u"_rowid_"_s, u"oid"_s}) {
        if (!columns.contains(name, Qt::CaseInsensitive))
            return name;
    }
    return {};
}

/// Of what ANALYZE has found: the first number of a line is that of the rows of the table, or of the part of
/// them that is in the index.
QHash<QString, TableSource::KnownCount> SqliteDialect::knownCounts(const QList<Table> &) const
{
    QHash<QString, KnownCount> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    // Without the table this fails.
    query.exec(u"SELECT tbl, max(CAST(stat AS INTEGER)) FROM main.sqlite_stat1 GROUP BY tbl"_s);
    while (query.next()) {
        if (const qint64 rows = query.value(1).toLongLong(); rows > 0)
            result.insert(query.value(0).toString(), {.rows = rows});
    }
    return result;
}

std::optional<qint64> SqliteDialect::rowCount(const Table &table, const CountLimits &limits) const
{
    const auto setWait = [this](int milliseconds) {
        QSqlQuery(connection()).exec(u"PRAGMA busy_timeout = "_s + QString::number(milliseconds));
    };
    const auto restored = qScopeGuard([&setWait, &limits] {
        if (limits.isBrief)
            setWait(5000); // as the driver sets it
    });
    if (limits.isBrief)
        setWait(500);
    const auto snapshot = qScopeGuard(beginSnapshot());
    QString name = rowNumberName(table);
    // A table may have no row numbers.
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    if (!name.isEmpty() && !query.exec(u"SELECT %1 FROM %2 LIMIT 1"_s.arg(name, table.quotedName)))
        name.clear();
    query.finish();
    return countInPortions(table, name, limits);
}

QString SqliteDialect::changeMark() const
{
    QSqlQuery query(connection());
    return query.exec(u"PRAGMA data_version"_s) && query.next() ? query.value(0).toString() : QString();
}

QString SqliteDialect::growth(const Table &table, const QList<Column> &declared, int column) const
{
    const QString name = columnName(column);
    const QString largest =
        text(named(declared.size(), table) + u"SELECT quote(max(%1)) FROM r"_s.arg(name), table.name);
    if (largest == "NULL"_L1)
        return {};
    const QString grown = name + u" >= "_s + largest;
    return declared.at(column).nullable ? u"(%1 OR %2 IS NULL)"_s.arg(grown, name) : grown;
}

std::unique_ptr<SourceRows> SqliteDialect::rows(const Table &table, const QList<Column> &,
                                                const std::vector<SourceColumn> &columns) const
{
    QStringList values;
    QStringList sizes;
    QStringList bytes;
    std::vector<int> sizeColumns(columns.size(), -1);
    for (size_t i = 0; i < columns.size(); ++i) {
        const QString name = columnName(qsizetype(i));
        if (columns[i].isShownAsText()) {
            sizeColumns[i] = int(columns.size()) + int(sizes.size());
            values.append(
                u"CASE typeof(%1) WHEN 'blob' THEN substr(%1, 1, %2) ELSE CAST(%1 AS TEXT) END"_s.arg(
                    name, QString::number(BytesStart::shown)));
            sizes.append(u"CASE typeof(%1) WHEN 'blob' THEN length(%1) END"_s.arg(name));
            bytes.append(
                u"CASE typeof(%1) WHEN 'blob' THEN NULL ELSE CAST(CAST(%1 AS TEXT) AS BLOB) END"_s.arg(name));
        } else {
            values.append(name);
            bytes.append(columns[i].isText() ? u"CAST(%1 AS BLOB)"_s.arg(name) : name);
        }
    }
    if (sizes.isEmpty())
        sizeColumns.clear();
    const QString with = named(qsizetype(columns.size()), table) + u"SELECT "_s;
    const QString from = u" FROM r"_s + table.where();
    return std::make_unique<SqliteRows>(connection(), with + (values + sizes).join(u", "_s) + from,
                                        isUtf8() ? with + bytes.join(u", "_s) + from : QString(),
                                        std::move(sizeColumns));
}

SqlDialect::BytesTexts SqliteDialect::bytesTexts(const TableShape &shape, int column) const
{
    const QString name = columnName(column);
    return {.size =
                u"CASE typeof(%1) WHEN 'blob' THEN length(%1) WHEN 'null' THEN NULL ELSE -1 END"_s.arg(name),
            .substring = u"substr("_s + name,
            .from = u" FROM r"_s,
            .with = named(shape.declared.size(), shape.table)};
}

/// Dates are written in many forms, so they find nothing.
QString SqliteDialect::keyCondition(const TableShape &shape, int column, const CellValue &value,
                                    QVariantList &bound) const
{
    const QString name = columnName(column);
    if (const auto *text = std::get_if<QString>(&value)) {
        bound.append(*text);
        if (shape.columns[size_t(column)].isShownAsText())
            return u"CASE typeof(%1) WHEN 'blob' THEN NULL ELSE CAST(%1 AS TEXT) END = ?"_s.arg(name);
        return name + u" = ?"_s;
    }
    if (const auto *number = std::get_if<double>(&value)) {
        bound.append(*number);
        return name + u" = ?"_s;
    }
    const QString number = plainNumber(value);
    return number.isEmpty() ? number : name + u" = "_s + number;
}

} // namespace sito

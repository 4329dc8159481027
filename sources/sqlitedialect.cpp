// SPDX-License-Identifier: MIT
#include <sources/sqlitedialect_p.h>

#include <sources/bytestext_p.h>
#include <sources/portion_p.h>
#include <sources/sqliterows_p.h>

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

/// No driver lets one interrupt a statement, so a large table is counted by many.
std::optional<qint64> SqliteDialect::rowCount(const Table &table, const parallel::StopToken &stop) const
{
    if (stop.isStopRequested())
        return std::nullopt;
    const auto snapshot = qScopeGuard(beginSnapshot());
    const QString name = rowNumberName(table);
    qint64 counted = 0;
    QString where;
    Portion portion;
    // Where there are so many rows, and the first one after them. Without row numbers this fails, and all
    // rows remain.
    while (!name.isEmpty()) {
        portion.begin();
        QSqlQuery query(connection());
        query.setForwardOnly(true);
        if (!query.exec(u"SELECT "_s + name + u" FROM "_s + table.quotedName + where + u" ORDER BY "_s +
                        name + u" LIMIT 1 OFFSET "_s + QString::number(portion.size())) ||
            !query.next())
            break;
        if (stop.isStopRequested())
            return std::nullopt;
        counted += portion.size();
        where = u" WHERE "_s + name + u" >= "_s + QString::number(query.value(0).toLongLong());
        portion.end();
    }
    counted += number(u"SELECT count(*) FROM "_s + table.quotedName + where, table.name);
    if (stop.isStopRequested())
        return std::nullopt;
    return counted;
}

QString SqliteDialect::changeMark() const
{
    QSqlQuery query(connection());
    return query.exec(u"PRAGMA data_version"_s) && query.next() ? query.value(0).toString() : QString();
}

std::unique_ptr<SourceRows> SqliteDialect::rows(const Table &table, const QList<Column> &,
                                                const std::vector<SourceColumn> &columns) const
{
    // Columns are told by their positions: a quoted name that is not found would be a text, and a name that
    // is no UTF-8 cannot be written.
    QStringList names;
    QStringList values;
    QStringList sizes;
    QStringList bytes;
    std::vector<int> sizeColumns(columns.size(), -1);
    for (size_t i = 0; i < columns.size(); ++i) {
        const QString name = u'c' + QString::number(i);
        names.append(name);
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
    const QString with =
        u"WITH r(%1) AS (SELECT * FROM %2) SELECT "_s.arg(names.join(u", "_s), table.quotedName);
    const QString from = u" FROM r"_s;
    return std::make_unique<SqliteRows>(connection(), with + (values + sizes).join(u", "_s) + from,
                                        isUtf8() ? with + bytes.join(u", "_s) + from : QString(),
                                        std::move(sizeColumns));
}

} // namespace sito

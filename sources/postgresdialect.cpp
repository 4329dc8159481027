// SPDX-License-Identifier: MIT
#include <sources/postgresdialect_p.h>

#include <sources/bytestext_p.h>
#include <sources/portion_p.h>
#include <sources/postgresrows_p.h>
#include <sources/postgressession_p.h>
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>

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

/// Gives schema, name, object number, whether the name alone finds it, and the kind of all tables and views
/// of users in every schema, partitioned tables as a whole.
QString tablesStatement()
{
    // A name is found in the first of the schemas that has a relation of that name.
    return u"WITH path(schemas) AS (SELECT "_s + PostgresSession::schemas() +
           u"), placed AS (SELECT c.oid, c.relname, c.relkind, c.relispartition, n.nspname, "
           "pg_catalog.array_position(p.schemas, n.nspname) AS place "
           "FROM path p CROSS JOIN pg_catalog.pg_class c "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) c.relnamespace) "
           "SELECT c.nspname, c.relname, c.oid::pg_catalog.int8, c.place IS NOT NULL AND NOT EXISTS ("
           "SELECT FROM placed o WHERE o.relname OPERATOR(pg_catalog.=) c.relname "
           "AND o.place OPERATOR(pg_catalog.<) c.place), c.relkind FROM placed c "
           "WHERE c.relkind OPERATOR(pg_catalog.=) ANY ('{r,p,v,m,f}'::pg_catalog.\"char\"[]) "
           "AND NOT c.relispartition AND pg_catalog.left(c.nspname::pg_catalog.text, 3) "
           "OPERATOR(pg_catalog.<>) 'pg_' AND c.nspname OPERATOR(pg_catalog.<>) "
           "'information_schema'::pg_catalog.name"_s;
}

/// Gives name, declared type, whether a value is required and whether the column belongs to the primary key.
/// Domains are told as the types that they rest on.
QString columnsStatement(qint64 table)
{
    // Only the server's own types are told by their plain names: one of somebody else would run their cast.
    return u"WITH RECURSIVE typed(number, name, required, type, modifier) AS ("
           "SELECT attnum, attname, attnotnull, atttypid, atttypmod FROM pg_catalog.pg_attribute "
           "WHERE attrelid OPERATOR(pg_catalog.=) %1::pg_catalog.oid "
           "AND attnum OPERATOR(pg_catalog.>) 0::pg_catalog.int2 AND NOT attisdropped "
           "UNION ALL "
           "SELECT d.number, d.name, d.required OR t.typnotnull, t.typbasetype, t.typtypmod "
           "FROM typed d JOIN pg_catalog.pg_type t ON t.oid OPERATOR(pg_catalog.=) d.type "
           "WHERE t.typtype OPERATOR(pg_catalog.=) 'd') "
           "SELECT d.name, CASE WHEN n.nspname OPERATOR(pg_catalog.=) 'pg_catalog'::pg_catalog.name "
           "THEN pg_catalog.format_type(d.type, d.modifier) "
           "ELSE pg_catalog.concat(n.nspname, '.', t.typname) END, d.required, "
           "EXISTS (SELECT FROM pg_catalog.pg_index i CROSS JOIN LATERAL pg_catalog.unnest(i.indkey) "
           "k(number) "
           "WHERE i.indrelid OPERATOR(pg_catalog.=) %1::pg_catalog.oid AND i.indisprimary "
           "AND k.number OPERATOR(pg_catalog.=) d.number) "
           "FROM typed d JOIN pg_catalog.pg_type t ON t.oid OPERATOR(pg_catalog.=) d.type "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) t.typnamespace "
           "WHERE t.typtype OPERATOR(pg_catalog.<>) 'd' ORDER BY d.number"_s.arg(table);
}

/// Gives whether policies hide rows of the table where that is an error; and the name, the owner and the kind
/// of something that reading would run, null when there is none: a function ("p") of an index, of statistics
/// or of a view, a view ("v") or a foreign table ("f"). What belongs to the user, or to a superuser, who can
/// do everything anyway, is not that.
QString obstacleStatement(qint64 table)
{
    // The planner evaluates constant parts of the expressions of indexes, statistics and partition keys.
    return u"WITH RECURSIVE tree(oid) AS (SELECT %1::pg_catalog.oid UNION "
           "SELECT n.oid FROM tree t CROSS JOIN LATERAL (SELECT i.inhrelid FROM pg_catalog.pg_inherits i "
           "WHERE i.inhparent OPERATOR(pg_catalog.=) t.oid UNION ALL SELECT d.refobjid "
           "FROM pg_catalog.pg_class v JOIN pg_catalog.pg_rewrite w "
           "ON w.ev_class OPERATOR(pg_catalog.=) v.oid JOIN pg_catalog.pg_depend d "
           "ON d.classid OPERATOR(pg_catalog.=) 'pg_catalog.pg_rewrite'::pg_catalog.regclass "
           "AND d.objid OPERATOR(pg_catalog.=) w.oid "
           "AND d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_class'::pg_catalog.regclass "
           "WHERE v.oid OPERATOR(pg_catalog.=) t.oid AND v.relkind OPERATOR(pg_catalog.=) 'v') n(oid)), "
           "planned(class, oid) AS (SELECT 'pg_catalog.pg_class'::pg_catalog.regclass, t.oid FROM tree t "
           "UNION ALL "
           "SELECT 'pg_catalog.pg_class'::pg_catalog.regclass, i.indexrelid "
           "FROM tree t JOIN pg_catalog.pg_index i ON i.indrelid OPERATOR(pg_catalog.=) t.oid UNION ALL "
           "SELECT 'pg_catalog.pg_statistic_ext'::pg_catalog.regclass, s.oid "
           "FROM tree t JOIN pg_catalog.pg_statistic_ext s ON s.stxrelid OPERATOR(pg_catalog.=) t.oid "
           "UNION ALL SELECT 'pg_catalog.pg_rewrite'::pg_catalog.regclass, w.oid "
           "FROM tree t JOIN pg_catalog.pg_class v ON v.oid OPERATOR(pg_catalog.=) t.oid "
           "AND v.relkind OPERATOR(pg_catalog.=) 'v' "
           "JOIN pg_catalog.pg_rewrite w ON w.ev_class OPERATOR(pg_catalog.=) t.oid), "
           "called(oid) AS (SELECT CASE WHEN d.refclassid OPERATOR(pg_catalog.=) "
           "'pg_catalog.pg_proc'::pg_catalog.regclass THEN d.refobjid ELSE o.oprcode::pg_catalog.oid END "
           "FROM planned p JOIN pg_catalog.pg_depend d ON d.classid OPERATOR(pg_catalog.=) p.class "
           "AND d.objid OPERATOR(pg_catalog.=) p.oid LEFT JOIN pg_catalog.pg_operator o "
           "ON d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_operator'::pg_catalog.regclass "
           "AND o.oid OPERATOR(pg_catalog.=) d.refobjid "
           "WHERE d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_proc'::pg_catalog.regclass OR o.oid IS "
           "NOT NULL), "
           "used(name, schema, owner, kind) AS (SELECT f.proname, f.pronamespace, f.proowner, "
           "'p'::pg_catalog.\"char\" FROM called c JOIN pg_catalog.pg_proc f "
           "ON f.oid OPERATOR(pg_catalog.=) c.oid UNION ALL "
           "SELECT v.relname, v.relnamespace, v.relowner, v.relkind FROM tree t JOIN pg_catalog.pg_class v "
           "ON v.oid OPERATOR(pg_catalog.=) t.oid "
           "AND v.relkind OPERATOR(pg_catalog.=) ANY ('{v,f}'::pg_catalog.\"char\"[])), "
           "untrusted(name, owner, kind) AS (SELECT pg_catalog.concat(n.nspname, '.', u.name), r.rolname, "
           "u.kind FROM used u "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) u.schema "
           "JOIN pg_catalog.pg_roles r ON r.oid OPERATOR(pg_catalog.=) u.owner "
           "WHERE NOT r.rolsuper AND r.rolname OPERATOR(pg_catalog.<>) CURRENT_USER "
           "ORDER BY u.kind DESC LIMIT 1) "
           "SELECT pg_catalog.row_security_active(%1::pg_catalog.oid) "
           "AND NOT pg_catalog.current_setting('row_security')::pg_catalog.bool, u.name, u.owner, u.kind "
           "FROM (SELECT 1) one LEFT JOIN untrusted u ON true"_s.arg(table);
}

QString quoted(const QString &name)
{
    return u'"' + QString(name).replace(u'"', u"\"\""_s) + u'"';
}

/// The name under which a table is listed: with its schema in front where the name alone does not find it. A
/// part that holds a point or a quotation mark is quoted, so that no two tables have the same.
QString listedName(const QString &schema, const QString &table, bool isFoundByName)
{
    const auto part = [](const QString &name) {
        return name.contains(u'.') || name.contains(u'"') ? quoted(name) : name;
    };
    return isFoundByName ? part(table) : part(schema) + u'.' + part(table);
}

/// What to select for \a column, declared as \a declared, so that the driver hands over its value undamaged.
QString expression(const SourceColumn &column, const SqlDialect::Column &declared)
{
    QString name = quoted(declared.name);
    const QString &declaredType = declared.declaredType;
    if (column.isShownAsText()) {
        // The form that the type itself writes: a cast may be a function of whoever made the type. A row of
        // absent values is not absent.
        return declaredType == "bytea"_L1
                   ? u"pg_catalog.substr(%1, 1, %2)"_s.arg(name, QString::number(BytesStart::shown))
                   : u"CASE WHEN pg_catalog.num_nulls(%1) OPERATOR(pg_catalog.=) 0 "
                     "THEN pg_catalog.concat('=', %1) END"_s.arg(name);
    }
    if (column.spec().type == FieldType::DateTime) {
        // As texts: the driver would drop fractions of a second, and what it cannot read would seem absent.
        return declaredType.endsWith("with time zone"_L1)
                   ? u"pg_catalog.timezone('UTC', %1)::pg_catalog.text"_s.arg(name)
                   : name + u"::pg_catalog.text"_s;
    }
    if (column.isText()) {
        // A text of its own at the front keeps the driver from taking U+FEFF for a mark of the encoding. What
        // a char(n) is padded with would be lost with it.
        static const QRegularExpression padded(u"^character\\((\\d+)\\)$"_s);
        const auto match = padded.match(declaredType);
        const QString text = name + u"::pg_catalog.text"_s;
        return u"'=' OPERATOR(pg_catalog.||) "_s +
               (match.hasMatch() ? u"pg_catalog.rpad(%1, %2)"_s.arg(text, match.captured(1)) : text);
    }
    return name;
}

} // namespace

QString PostgresDialect::sourceName() const
{
    SourceLocation location;
    location.host = connection().hostName();
    location.port = connection().port();
    location.database = connection().databaseName();
    location.user = connection().userName();
    return location.displayName();
}

QList<SqlDialect::Table> PostgresDialect::tables() const
{
    if (!connection().isOpen())
        fail(connection().lastError());
    QList<Table> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, tablesStatement());
    while (query.next()) {
        const QString schema = query.value(0).toString();
        const QString table = query.value(1).toString();
        const QString kind = query.value(4).toString();
        result.append({listedName(schema, table, query.value(3).toBool()),
                       quoted(schema) + u'.' + quoted(table), query.value(2).toLongLong(),
                       kind == "v"_L1 || kind == "f"_L1});
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

QList<SqlDialect::Column> PostgresDialect::columns(const Table &table) const
{
    // The others are checked when their rows are counted.
    if (table.isView) {
        checkObstacle(table);
        if (number(u"SELECT pg_catalog.count(*) FROM (SELECT 1) one "
                   "WHERE pg_catalog.has_table_privilege(%1::pg_catalog.oid, 'SELECT')"_s.arg(table.number),
                   table.name) == 0)
            throw Exception(TableLoader::tr("Таблица «%1»: нет права на чтение").arg(table.name));
    }
    QList<Column> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, columnsStatement(table.number));
    while (query.next())
        result.append({query.value(0).toString(), query.value(1).toString(), !query.value(2).toBool(),
                       query.value(3).toBool()});
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

std::optional<SourceColumn> PostgresDialect::sourceColumn(const Column &column, bool isStrict) const
{
    auto result = SqlDialect::sourceColumn(column, isStrict);
    if (result)
        result->takeServerTexts();
    return result;
}

/// Throws when \a table is not to be read, before anything reads it.
void PostgresDialect::checkObstacle(const Table &table) const
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, obstacleStatement(table.number));
    if (!query.next())
        return;
    if (query.value(0).toBool())
        throw Exception(
            TableLoader::tr("Таблица «%1»: политики доступа скрывают часть её строк").arg(table.name));
    if (query.isNull(1))
        return;
    const QString kind = query.value(3).toString();
    QString text = TableLoader::tr("Таблица «%1»: чтение выполнило бы функцию «%2» пользователя «%3», "
                                   "которую вызывает её индекс или статистика");
    if (kind == "v"_L1)
        text = TableLoader::tr("Таблица «%1»: чтение выполнило бы представление «%2» пользователя «%3»");
    else if (kind == "f"_L1)
        text = TableLoader::tr("Таблица «%1»: чтение обратилось бы к внешней таблице «%2» пользователя «%3»");
    else if (table.isView)
        text = TableLoader::tr(
            "Таблица «%1»: чтение выполнило бы функцию «%2» пользователя «%3», которую она вызывает");
    throw Exception(text.arg(table.name, query.value(1).toString(), query.value(2).toString()));
}

/// Whether \a table is a view, which is then locked, so that nobody replaces it after it was checked. A
/// foreign table cannot be locked; it is checked.
bool PostgresDialect::lockView(const Table &table) const
{
    const auto is = [this, &table](const QString &condition) {
        return number(u"SELECT pg_catalog.count(*) FROM "_s + condition.arg(table.number), table.name) > 0;
    };
    const bool isView = is(u"pg_catalog.pg_class WHERE oid OPERATOR(pg_catalog.=) %1::pg_catalog.oid "
                           "AND relkind OPERATOR(pg_catalog.=) 'v'"_s);
    if (isView) {
        QSqlQuery query(connection());
        execute(query, u"LOCK TABLE %1 IN ACCESS SHARE MODE"_s.arg(table.quotedName));
        // Of the same name, and another one by now.
        if (!is(u"pg_catalog.pg_locks WHERE pid OPERATOR(pg_catalog.=) pg_catalog.pg_backend_pid() "
                "AND relation OPERATOR(pg_catalog.=) %1::pg_catalog.oid"_s))
            throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(table.name));
    }
    checkObstacle(table);
    return isView;
}

/// Whether \a table, or what it consists of, may be more than the server reads in a moment.
bool PostgresDialect::isLarge(const Table &table) const
{
    constexpr qint64 readInAMoment = 32 << 20;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    // What is wrong with the table, or in the way, is told with its name since it is named here, early.
    execute(query,
            u"SELECT EXISTS (SELECT FROM "_s + table.quotedName +
                u" LIMIT 0), pg_catalog.pg_relation_size(oid::pg_catalog.regclass) FROM pg_catalog.pg_class "
                "WHERE relkind OPERATOR(pg_catalog.=) 'r' AND NOT relhassubclass "
                "AND oid OPERATOR(pg_catalog.=) "_s +
                QString::number(table.number));
    return !query.next() || query.value(1).toLongLong() > readInAMoment;
}

/// No driver lets one interrupt a statement, so a large table is counted by many.
std::optional<qint64> PostgresDialect::rowCount(const Table &table, const parallel::StopToken &stop) const
{
    if (stop.isStopRequested())
        return std::nullopt;
    checkObstacle(table);
    if (!isLarge(table)) {
        const qint64 count = number(u"SELECT pg_catalog.count(*) FROM "_s + table.quotedName, table.name);
        if (stop.isStopRequested())
            return std::nullopt;
        return count;
    }
    const auto snapshot = qScopeGuard(beginSnapshot());
    QSqlQuery query(connection());
    execute(query, u"DECLARE sito_count NO SCROLL CURSOR FOR SELECT 1 FROM "_s + table.quotedName);
    qint64 counted = 0;
    Portion portion;
    while (true) {
        portion.begin();
        execute(query, u"MOVE FORWARD %1 IN sito_count"_s.arg(portion.size()));
        if (stop.isStopRequested())
            return std::nullopt;
        counted += query.numRowsAffected();
        if (query.numRowsAffected() < portion.size())
            break;
        portion.end();
    }
    execute(query, u"CLOSE sito_count"_s);
    return counted;
}

std::unique_ptr<SourceRows> PostgresDialect::rows(const Table &table, const QList<Column> &declared,
                                                  const std::vector<SourceColumn> &columns) const
{
    const bool isView = table.isView && lockView(table);
    // Where the server can keep views from being read, see PostgresSession.
    QSqlQuery restriction(connection());
    execute(restriction, u"SELECT pg_catalog.set_config(name, '%1', true) FROM pg_catalog.pg_settings "
                         "WHERE name OPERATOR(pg_catalog.=) 'restrict_nonsystem_relation_kind'"_s.arg(
                             isView ? u""_s : u"view"_s));
    QStringList expressions;
    QStringList sizes;
    std::vector<PostgresRows::Column> kinds;
    for (size_t i = 0; i < columns.size(); ++i) {
        const QString &type = declared.at(qsizetype(i)).declaredType;
        expressions.append(expression(columns[i], declared.at(qsizetype(i))));
        PostgresRows::Column kind{.isText = columns[i].isText()};
        if (columns[i].isShownAsText() && type == "bytea"_L1) {
            kind = {.isText = false, .sizeColumn = int(columns.size()) + int(sizes.size())};
            sizes.append(u"pg_catalog.octet_length(%1)"_s.arg(quoted(declared.at(qsizetype(i)).name)));
        }
        kinds.push_back(kind);
    }
    return std::make_unique<PostgresRows>(
        connection(), u"SELECT "_s + (expressions + sizes).join(u", "_s) + u" FROM "_s + table.quotedName,
        std::move(kinds));
}

/// Whoever changes rows gets a number, which snapshots tell of from then on.
QString PostgresDialect::changeMark() const
{
    QSqlQuery query(connection());
    return query.exec(u"SELECT pg_catalog.concat(pg_catalog.txid_current_snapshot())"_s) && query.next()
               ? query.value(0).toString()
               : QString();
}

/// Also makes the server write every digit, and dates in one form and zone.
std::function<void()> PostgresDialect::beginSnapshot() const
{
    const QSqlDatabase connection = this->connection();
    if (!connection.isOpen())
        return [] {};
    // Only a transaction that began with an earlier statement is older than this one.
    QSqlQuery query(connection);
    if (!query.exec(u"SELECT pg_catalog.now() OPERATOR(pg_catalog.<>) pg_catalog.statement_timestamp()"_s) ||
        !query.next())
        return [] {};
    QStringList end;
    if (query.value(0).toBool()) {
        if (query.exec(u"SAVEPOINT sito_load"_s))
            end = {u"ROLLBACK TO SAVEPOINT sito_load"_s, u"RELEASE SAVEPOINT sito_load"_s};
    } else if (query.exec(u"BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY"_s)) {
        end = {u"ROLLBACK"_s};
    }
    if (!end.isEmpty()) {
        query.exec(u"SET LOCAL extra_float_digits = 3"_s);
        query.exec(u"SET LOCAL DateStyle = 'ISO'"_s);
        query.exec(u"SET LOCAL TimeZone = 'UTC'"_s);
    }
    return [connection, end] {
        // A connection that was lost takes its transaction with it.
        if (!connection.isOpen())
            return;
        for (const QString &statement : end)
            QSqlQuery(connection).exec(statement);
    };
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <sources/postgresdialect_p.h>

#include <sources/bytestext_p.h>
#include <sources/portion_p.h>
#include <sources/postgresrowmark_p.h>
#include <sources/postgresrows_p.h>
#include <sources/postgressession_p.h>
#include <sources/tableloader.h>
#include <sources/tableshape_p.h>

#include <data/exception.h>

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Gives schema, name, object number, whether the name alone finds it, and the kind of all tables and views
/// of users in every schema, partitioned tables as a whole.
QString tablesStatement(bool asBytes)
{
    const QString name = asBytes ? u"pg_catalog.convert_to(%1::pg_catalog.text, 'SQL_ASCII')"_s : u"%1"_s;
    // A name is found in the first of the schemas that has a relation of that name.
    return u"WITH path(schemas) AS (SELECT "_s + PostgresSession::schemas() +
           u"), placed AS (SELECT c.oid, c.relname, c.relkind, c.relispartition, n.nspname, "
           "pg_catalog.array_position(p.schemas, n.nspname) AS place "
           "FROM path p CROSS JOIN pg_catalog.pg_class c "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) c.relnamespace) "
           "SELECT "_s +
           name.arg(u"c.nspname"_s) + u", "_s + name.arg(u"c.relname"_s) +
           u", c.oid::pg_catalog.int8, c.place IS NOT NULL AND NOT EXISTS ("
           "SELECT FROM placed o WHERE o.relname OPERATOR(pg_catalog.=) c.relname "
           "AND o.place OPERATOR(pg_catalog.<) c.place), c.relkind FROM placed c "
           "WHERE c.relkind OPERATOR(pg_catalog.=) ANY ('{r,p,v,m,f}'::pg_catalog.\"char\"[]) "
           "AND NOT c.relispartition AND pg_catalog.left(c.nspname::pg_catalog.text, 3) "
           "OPERATOR(pg_catalog.<>) 'pg_' AND c.nspname OPERATOR(pg_catalog.<>) "
           "'information_schema'::pg_catalog.name"_s;
}

/// Gives the object number and the estimated rows of what has an estimate. Of a table with parts, each part
/// must have been looked at by the server.
QString estimatesStatement()
{
    return u"SELECT number, rows FROM (SELECT c.oid::pg_catalog.int8 AS number, "
           "CASE WHEN c.relhassubclass THEN ("
           "WITH RECURSIVE tree(oid) AS (SELECT c.oid UNION SELECT i.inhrelid FROM tree t "
           "JOIN pg_catalog.pg_inherits i ON i.inhparent OPERATOR(pg_catalog.=) t.oid) "
           "SELECT CASE WHEN pg_catalog.bool_and(l.reltuples OPERATOR(pg_catalog.>=) 0::pg_catalog.float4) "
           "THEN pg_catalog.sum(l.reltuples::pg_catalog.float8)::pg_catalog.int8 END "
           "FROM tree t JOIN pg_catalog.pg_class l ON l.oid OPERATOR(pg_catalog.=) t.oid "
           "WHERE l.relkind OPERATOR(pg_catalog.<>) 'p') "
           "ELSE c.reltuples::pg_catalog.int8 END AS rows FROM pg_catalog.pg_class c "
           "WHERE c.relkind OPERATOR(pg_catalog.=) ANY ('{r,p,m,f}'::pg_catalog.\"char\"[]) "
           "AND NOT c.relispartition) e WHERE e.rows OPERATOR(pg_catalog.>) 0"_s;
}

/// Gives name, declared type, whether a value is required, whether the column belongs to the primary key and
/// whether the user may read it. Domains are told as the types that they rest on.
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
           "AND k.number OPERATOR(pg_catalog.=) d.number), "
           "pg_catalog.has_column_privilege(%1::pg_catalog.oid, d.number, 'SELECT') "
           "AND EXISTS (SELECT FROM pg_catalog.pg_class c WHERE c.oid OPERATOR(pg_catalog.=) "
           "%1::pg_catalog.oid AND pg_catalog.has_schema_privilege(c.relnamespace, 'USAGE')) "
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
    return serverName();
}

QList<SqlDialect::Table> PostgresDialect::tables() const
{
    if (!connection().isOpen())
        fail(connection().lastError());
    QList<Table> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    const bool asBytes = holdsAnyBytes();
    execute(query, tablesStatement(asBytes));
    while (query.next()) {
        const auto name = [&query, asBytes](int column) {
            return asBytes ? textOfUtf8(query.value(column).toByteArray()) : query.value(column).toString();
        };
        const auto isText = [&query, asBytes, &name](int column) {
            return !asBytes || name(column).toUtf8() == query.value(column).toByteArray();
        };
        const QString kind = query.value(4).toString();
        result.append({listedName(name(0), name(1), query.value(3).toBool()),
                       isText(0) && isText(1) ? quoted(name(0)) + u'.' + quoted(name(1)) : QString(),
                       query.value(2).toLongLong(), kind == "v"_L1 || kind == "f"_L1});
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    return result;
}

QList<SqlDialect::Column> PostgresDialect::columns(const Table &table) const
{
    checkObstacle(table);
    QList<Column> result;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, columnsStatement(table.number));
    while (query.next()) {
        // The server would tell it, too, but of a table that somebody has locked only when it is free.
        if (!query.value(4).toBool())
            throw Exception(TableLoader::tr("Таблица «%1»: нет права на чтение").arg(table.name));
        result.append({query.value(0).toString(), query.value(1).toString(), !query.value(2).toBool(),
                       query.value(3).toBool()});
    }
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

bool PostgresDialect::areTextsDistinct(const Column &column) const
{
    return PostgresRowMark::keepsItsText(column.declaredType) && !column.declaredType.startsWith("bytea"_L1);
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

/// Whether \a table is still the one of its name.
bool PostgresDialect::isPresent(const Table &table) const
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    execute(query, u"SELECT n.nspname, c.relname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n "
                   "ON n.oid OPERATOR(pg_catalog.=) c.relnamespace "
                   "WHERE c.oid OPERATOR(pg_catalog.=) %1::pg_catalog.oid"_s.arg(table.number));
    return query.next() &&
           quoted(query.value(0).toString()) + u'.' + quoted(query.value(1).toString()) == table.quotedName;
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

/// What ANALYZE and the like have found, of all the parts of a table that has some.
QHash<QString, TableSource::KnownCount> PostgresDialect::knownCounts(const QList<Table> &tables) const
{
    QHash<qint64, qint64> rows;
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    query.exec(estimatesStatement());
    while (query.next())
        rows.insert(query.value(0).toLongLong(), query.value(1).toLongLong());
    QHash<QString, KnownCount> result;
    for (const Table &table : tables) {
        if (const auto found = rows.constFind(table.number); found != rows.cend())
            result.insert(table.name, {.rows = *found});
    }
    return result;
}

/// Whether the database takes any bytes for texts; then the server gives none that are not UTF-8 as a text.
bool PostgresDialect::holdsAnyBytes() const
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    return query.exec(u"SELECT pg_catalog.getdatabaseencoding()"_s) && query.next() &&
           query.value(0).toString() == "SQL_ASCII"_L1;
}

/// No driver lets one interrupt a statement, so a large table is counted by many.
std::optional<qint64> PostgresDialect::rowCount(const Table &table, const CountLimits &limits) const
{
    if (limits.stop.isStopRequested())
        return std::nullopt;
    const auto briefly = qScopeGuard(limits.isBrief ? beginSnapshot() : [] {});
    if (limits.isBrief) {
        QSqlQuery query(connection());
        execute(query, u"SET LOCAL statement_timeout = 1000"_s);
        execute(query, u"SET LOCAL lock_timeout = 500"_s);
    }
    // It may have been listed long ago.
    if (!isPresent(table))
        throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(table.name));
    checkObstacle(table);
    if (!isLarge(table))
        return number(u"SELECT pg_catalog.count(*) FROM "_s + table.quotedName + table.where(), table.name);
    const auto snapshot = qScopeGuard(beginSnapshot());
    QSqlQuery query(connection());
    execute(query,
            u"DECLARE sito_count NO SCROLL CURSOR FOR SELECT 1 FROM "_s + table.quotedName + table.where());
    qint64 counted = 0;
    Portion portion;
    while (!limits.end.hasExpired()) {
        portion.begin();
        execute(query, u"MOVE FORWARD %1 IN sito_count"_s.arg(portion.size()));
        if (limits.stop.isStopRequested())
            return std::nullopt;
        counted += query.numRowsAffected();
        if (query.numRowsAffected() < portion.size()) {
            execute(query, u"CLOSE sito_count"_s);
            return counted;
        }
        portion.end();
    }
    return -1;
}

/// Lets a statement read \a table, if it is a view, until the snapshot ends.
void PostgresDialect::admit(const Table &table) const
{
    const bool isView = table.isView && lockView(table);
    // Where the server can keep views from being read, see PostgresSession.
    QSqlQuery restriction(connection());
    execute(restriction, u"SELECT pg_catalog.set_config(name, '%1', true) FROM pg_catalog.pg_settings "
                         "WHERE name OPERATOR(pg_catalog.=) 'restrict_nonsystem_relation_kind'"_s.arg(
                             isView ? u""_s : u"view"_s));
}

QString PostgresDialect::growth(const Table &table, const QList<Column> &declared, int column) const
{
    const QString name = quoted(declared.at(column).name);
    const QString type = PostgresRowMark::comparedType(declared.at(column).declaredType);
    if (type.isEmpty())
        return {};
    admit(table);
    const QString largest =
        text(u"SELECT pg_catalog.max(%1)::pg_catalog.text FROM %2"_s.arg(name, table.quotedName), table.name);
    // Nothing is larger than "infinity" and "NaN".
    static const QRegularExpression digits(u"^[-+0-9:. ]+$"_s);
    return !digits.match(largest).hasMatch()
               ? QString()
               : u"(%1 OPERATOR(pg_catalog.>=) '%2'::pg_catalog.%3 OR %1 IS NULL)"_s.arg(name, largest, type);
}

std::unique_ptr<SourceRows> PostgresDialect::rows(const Table &table, const QList<Column> &declared,
                                                  const std::vector<SourceColumn> &columns) const
{
    admit(table);
    const bool asBytes = holdsAnyBytes();
    QStringList expressions;
    QStringList sizes;
    std::vector<PostgresRows::Column> kinds;
    for (size_t i = 0; i < columns.size(); ++i) {
        const QString &type = declared.at(qsizetype(i)).declaredType;
        expressions.append(expression(columns[i], declared.at(qsizetype(i))));
        PostgresRows::Column kind{.isText = columns[i].isText(), .isBytes = columns[i].isText() && asBytes};
        if (columns[i].isShownAsText() && type == "bytea"_L1) {
            kind = {.isText = false, .sizeColumn = int(columns.size()) + int(sizes.size())};
            sizes.append(u"pg_catalog.octet_length(%1)"_s.arg(quoted(declared.at(qsizetype(i)).name)));
        } else if (kind.isBytes) {
            expressions.last() = u"pg_catalog.convert_to(%1, 'SQL_ASCII')"_s.arg(expressions.last());
        }
        kinds.push_back(kind);
    }
    return std::make_unique<PostgresRows>(connection(),
                                          u"SELECT "_s + (expressions + sizes).join(u", "_s) + u" FROM "_s +
                                              table.quotedName + table.where(),
                                          std::move(kinds));
}

SqlDialect::BytesTexts PostgresDialect::bytesTexts(const TableShape &shape, int column) const
{
    admit(shape.table);
    const QString name = quoted(shape.declared.at(column).name);
    return {.size = u"pg_catalog.octet_length(%1)"_s.arg(name),
            .substring = u"pg_catalog.substr("_s + name,
            .from = u" FROM "_s + shape.table.quotedName};
}

QString PostgresDialect::keyCondition(const TableShape &shape, int column, const CellValue &value,
                                      QVariantList &) const
{
    const QString name = quoted(shape.declared.at(column).name);
    const QString &type = shape.declared.at(column).declaredType;
    const auto equals = [&name](const QString &other) {
        return name + u" OPERATOR(pg_catalog.=) "_s + other;
    };
    if (const auto *text = std::get_if<QString>(&value)) {
        const QString literal =
            u"pg_catalog.convert_from(pg_catalog.decode('%1', 'hex'), 'UTF8')"_s.arg(hexDigits(*text));
        // Forms that an index finds; of all others, the text that was shown.
        if (type == "uuid"_L1 || type == "date"_L1)
            return equals(literal + u"::pg_catalog."_s + type);
        if (!shape.columns[size_t(column)].isShownAsText())
            return type.startsWith("character("_L1)
                       ? equals(literal + u"::pg_catalog.bpchar"_s)
                       : name + u"::pg_catalog.text OPERATOR(pg_catalog.=) "_s + literal;
        return u"pg_catalog.concat(%1) OPERATOR(pg_catalog.=) %2"_s.arg(name, literal);
    }
    if (const QString date = plainDate(value); !date.isEmpty()) {
        const QString moment = u'\'' + date + u"'::pg_catalog.timestamp"_s;
        return equals(type.endsWith("with time zone"_L1) ? u"pg_catalog.timezone('UTC', %1)"_s.arg(moment)
                                                         : moment);
    }
    const QString number = plainNumber(value);
    if (number.isEmpty())
        return {};
    if (std::holds_alternative<qint32>(value) || std::holds_alternative<qint64>(value)) {
        const bool isWhole = type == "smallint"_L1 || type == "integer"_L1 || type == "bigint"_L1;
        return isWhole ? equals(number + u"::pg_catalog.int8"_s) : QString();
    }
    return equals(u'\'' + number + u"'::pg_catalog.numeric"_s);
}

/// Whoever changes rows gets a number, which snapshots tell of from then on.
QString PostgresDialect::changeMark() const
{
    QSqlQuery query(connection());
    return query.exec(u"SELECT pg_catalog.concat(pg_catalog.txid_current_snapshot())"_s) && query.next()
               ? query.value(0).toString()
               : QString();
}

/// Whether \a statement succeeds; if not, the transaction goes on without it.
bool PostgresDialect::attempt(QSqlQuery &query, const QString &statement) const
{
    QSqlQuery around(connection());
    if (!around.exec(u"SAVEPOINT sito_attempt"_s))
        return false;
    const bool isGood = query.exec(statement);
    if (!isGood)
        around.exec(u"ROLLBACK TO SAVEPOINT sito_attempt"_s);
    around.exec(u"RELEASE SAVEPOINT sito_attempt"_s);
    return isGood;
}

/// Without waiting, and before the first statement that fixes what the transaction sees: what was altered
/// between the two would be read as it is, but described as it was.
void PostgresDialect::hold(const QList<Table> &tables) const
{
    QSqlQuery query(connection());
    for (const Table &table : tables) {
        if (!table.isView)
            attempt(query, u"LOCK TABLE %1 IN ACCESS SHARE MODE NOWAIT"_s.arg(table.quotedName));
    }
}

RowMark PostgresDialect::rowMark(const Table &table, const QList<Column> &declared, int growing) const
{
    const bool isText = std::all_of(declared.begin(), declared.end(), [](const Column &column) {
        return PostgresRowMark::keepsItsText(column.declaredType);
    });
    QSqlQuery query(connection());
    if (!isText || table.isView || !attempt(query, PostgresRowMark::statement(table.number)) ||
        !query.next() || !query.value(0).toBool())
        return SqlDialect::rowMark(table, declared, growing);
    return {.identity = query.value(1).toString(),
            .value = query.value(2).toString(),
            .condition = PostgresRowMark::partsCondition(query.value(3).toString())};
}

QString PostgresDialect::changedSince(const RowMark &before, const RowMark &now) const
{
    if (now.isPromised || before.identity != now.identity)
        return SqlDialect::changedSince(before, now);
    const QString changed = PostgresRowMark::changedCondition(before.value, now.value);
    return changed.isEmpty() ? QString() : now.condition + u" AND "_s + changed;
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

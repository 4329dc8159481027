// SPDX-License-Identifier: MIT
#include <sources/postgresdialect_p.h>

#include <sources/postgressession_p.h>

#include <QRegularExpression>

namespace sito {

using namespace Qt::StringLiterals;

namespace PostgresDialect {

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
           "AND o.place OPERATOR(pg_catalog.<) c.place) FROM placed c "
           "WHERE (c.relkind OPERATOR(pg_catalog.=) 'r' OR c.relkind OPERATOR(pg_catalog.=) 'p') "
           "AND NOT c.relispartition AND pg_catalog.left(c.nspname::pg_catalog.text, 3) "
           "OPERATOR(pg_catalog.<>) 'pg_' AND c.nspname OPERATOR(pg_catalog.<>) "
           "'information_schema'::pg_catalog.name"_s;
}

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
           "ELSE pg_catalog.concat(n.nspname, '.', t.typname) END, d.required "
           "FROM typed d JOIN pg_catalog.pg_type t ON t.oid OPERATOR(pg_catalog.=) d.type "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) t.typnamespace "
           "WHERE t.typtype OPERATOR(pg_catalog.<>) 'd' ORDER BY d.number"_s.arg(table);
}

QString obstacleStatement(qint64 table)
{
    // The planner evaluates constant parts of the expressions of indexes, statistics and partition keys.
    return u"WITH RECURSIVE tree(oid) AS (SELECT %1::pg_catalog.oid UNION "
           "SELECT i.inhrelid FROM pg_catalog.pg_inherits i JOIN tree t ON i.inhparent "
           "OPERATOR(pg_catalog.=) t.oid), "
           "planned(class, oid) AS (SELECT 'pg_catalog.pg_class'::pg_catalog.regclass, t.oid FROM tree t "
           "UNION ALL "
           "SELECT 'pg_catalog.pg_class'::pg_catalog.regclass, i.indexrelid "
           "FROM tree t JOIN pg_catalog.pg_index i ON i.indrelid OPERATOR(pg_catalog.=) t.oid UNION ALL "
           "SELECT 'pg_catalog.pg_statistic_ext'::pg_catalog.regclass, s.oid "
           "FROM tree t JOIN pg_catalog.pg_statistic_ext s ON s.stxrelid OPERATOR(pg_catalog.=) t.oid), "
           "called(oid) AS (SELECT CASE WHEN d.refclassid OPERATOR(pg_catalog.=) "
           "'pg_catalog.pg_proc'::pg_catalog.regclass THEN d.refobjid ELSE o.oprcode::pg_catalog.oid END "
           "FROM planned p JOIN pg_catalog.pg_depend d ON d.classid OPERATOR(pg_catalog.=) p.class "
           "AND d.objid OPERATOR(pg_catalog.=) p.oid LEFT JOIN pg_catalog.pg_operator o "
           "ON d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_operator'::pg_catalog.regclass "
           "AND o.oid OPERATOR(pg_catalog.=) d.refobjid "
           "WHERE d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_proc'::pg_catalog.regclass OR o.oid IS "
           "NOT NULL), "
           "untrusted(name, owner) AS (SELECT pg_catalog.concat(n.nspname, '.', f.proname), r.rolname "
           "FROM called c JOIN pg_catalog.pg_proc f ON f.oid OPERATOR(pg_catalog.=) c.oid "
           "JOIN pg_catalog.pg_namespace n ON n.oid OPERATOR(pg_catalog.=) f.pronamespace "
           "JOIN pg_catalog.pg_roles r ON r.oid OPERATOR(pg_catalog.=) f.proowner "
           "WHERE NOT r.rolsuper AND r.rolname OPERATOR(pg_catalog.<>) CURRENT_USER LIMIT 1) "
           "SELECT pg_catalog.row_security_active(%1::pg_catalog.oid) "
           "AND NOT pg_catalog.current_setting('row_security')::pg_catalog.bool, u.name, u.owner "
           "FROM (SELECT 1) one LEFT JOIN untrusted u ON true"_s.arg(table);
}

QString quoted(const QString &name)
{
    return u'"' + QString(name).replace(u'"', u"\"\""_s) + u'"';
}

QString listedName(const QString &schema, const QString &table, bool isFoundByName)
{
    const auto part = [](const QString &name) {
        return name.contains(u'.') || name.contains(u'"') ? quoted(name) : name;
    };
    return isFoundByName ? part(table) : part(schema) + u'.' + part(table);
}

QString expression(const SourceColumn &column, const QString &declaredType)
{
    const QString name = quoted(column.spec().name);
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

QString text(const QString &selected)
{
    return selected.sliced(1);
}

} // namespace PostgresDialect

} // namespace sito

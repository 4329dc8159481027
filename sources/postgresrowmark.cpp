// SPDX-License-Identifier: MIT
#include <sources/postgresrowmark_p.h>

#include <QRegularExpression>
#include <QStringList>

namespace sito {

using namespace Qt::StringLiterals;

namespace PostgresRowMark {

namespace {

/// \a declaredType without the numbers in parentheses.
QString withoutAdditions(const QString &declaredType)
{
    static const QRegularExpression numbers(u"\\(-?\\d+(,-?\\d+)?\\)"_s);
    return QString(declaredType).remove(numbers);
}

} // namespace

QString statement(qint64 table)
{
    // Heap tables only (2; 0 before PostgreSQL 12). A table with children has no key that holds for them,
    // unless they are its partitions. Columns that are computed when they are read (attgenerated, since
    // PostgreSQL 12) may change with the functions that compute them.
    return u"WITH RECURSIVE tree(oid) AS (SELECT %1::pg_catalog.oid UNION SELECT i.inhrelid FROM tree t "
           "JOIN pg_catalog.pg_inherits i ON i.inhparent OPERATOR(pg_catalog.=) t.oid), "
           "held(oid) AS (SELECT l.relation FROM pg_catalog.pg_locks l "
           "WHERE l.pid OPERATOR(pg_catalog.=) pg_catalog.pg_backend_pid() AND l.granted), "
           "parts(oid, line, isgood) AS (SELECT c.oid, pg_catalog.concat_ws(' ', c.oid, c.relfilenode, "
           "(SELECT pg_catalog.string_agg(a::pg_catalog.text, ' ' ORDER BY a.attnum) "
           "FROM pg_catalog.pg_attribute a WHERE a.attrelid OPERATOR(pg_catalog.=) c.oid "
           "AND a.attnum OPERATOR(pg_catalog.>) 0::pg_catalog.int2)), "
           "(c.relkind OPERATOR(pg_catalog.=) 'p'::pg_catalog.\"char\" OR ("
           "c.relkind OPERATOR(pg_catalog.=) 'r'::pg_catalog.\"char\" "
           "AND c.relam OPERATOR(pg_catalog.=) ANY ('{0,2}'::pg_catalog.oid[]))) "
           "AND EXISTS (SELECT FROM held h WHERE h.oid OPERATOR(pg_catalog.=) c.oid) "
           "AND NOT EXISTS (SELECT FROM pg_catalog.pg_attribute a "
           "WHERE a.attrelid OPERATOR(pg_catalog.=) c.oid "
           "AND pg_catalog.to_jsonb(a) OPERATOR(pg_catalog.->>) 'attgenerated'::pg_catalog.text "
           "OPERATOR(pg_catalog.=) 'v'::pg_catalog.text) "
           "FROM tree t JOIN pg_catalog.pg_class c ON c.oid OPERATOR(pg_catalog.=) t.oid), "
           "whole(count, isgood, lines, oids) AS (SELECT pg_catalog.count(*), pg_catalog.bool_and(isgood), "
           "pg_catalog.string_agg(line, ' ' ORDER BY oid), "
           "pg_catalog.array_agg(oid ORDER BY oid)::pg_catalog.text FROM parts) "
           "SELECT w.isgood AND (r.relkind OPERATOR(pg_catalog.=) 'p'::pg_catalog.\"char\" "
           "OR w.count OPERATOR(pg_catalog.=) 1::pg_catalog.int8) AND EXISTS (SELECT FROM "
           "pg_catalog.pg_index i "
           "WHERE i.indrelid OPERATOR(pg_catalog.=) r.oid AND i.indisprimary AND i.indisvalid), "
           "pg_catalog.concat_ws(' ', w.lines, pg_catalog.current_setting('IntervalStyle'), "
           "pg_catalog.current_setting('bytea_output')), "
           "pg_catalog.concat_ws(' ', pg_catalog.txid_snapshot_xmin(s.taken), "
           "pg_catalog.txid_snapshot_xmax(s.taken)), w.oids "
           "FROM whole w CROSS JOIN pg_catalog.pg_class r "
           "CROSS JOIN (SELECT pg_catalog.txid_current_snapshot()) s(taken) "
           "WHERE r.oid OPERATOR(pg_catalog.=) %1::pg_catalog.oid"_s.arg(table);
}

bool keepsItsText(const QString &declaredType)
{
    static const QStringList types{u"boolean"_s,
                                   u"smallint"_s,
                                   u"integer"_s,
                                   u"bigint"_s,
                                   u"real"_s,
                                   u"double precision"_s,
                                   u"numeric"_s,
                                   u"text"_s,
                                   u"character varying"_s,
                                   u"character"_s,
                                   u"name"_s,
                                   u"\"char\""_s,
                                   u"date"_s,
                                   u"timestamp without time zone"_s,
                                   u"timestamp with time zone"_s,
                                   u"time without time zone"_s,
                                   u"time with time zone"_s,
                                   u"interval"_s,
                                   u"uuid"_s,
                                   u"bytea"_s,
                                   u"json"_s,
                                   u"jsonb"_s,
                                   u"inet"_s,
                                   u"cidr"_s,
                                   u"macaddr"_s,
                                   u"macaddr8"_s,
                                   u"bit"_s,
                                   u"bit varying"_s};
    static const QRegularExpression array(u"(\\[\\])+$"_s);
    return types.contains(withoutAdditions(QString(declaredType).remove(array)));
}

QString comparedType(const QString &declaredType)
{
    const QString type = withoutAdditions(declaredType);
    if (type == "smallint"_L1 || type == "integer"_L1 || type == "bigint"_L1)
        return u"int8"_s;
    if (type == "timestamp without time zone"_L1)
        return u"timestamp"_s;
    if (type == "timestamp with time zone"_L1)
        return u"timestamptz"_s;
    return type == "numeric"_L1 || type == "date"_L1 ? type : QString();
}

QString partsCondition(const QString &parts)
{
    return u"tableoid OPERATOR(pg_catalog.=) ANY ('%1'::pg_catalog.oid[])"_s.arg(parts);
}

QString changedCondition(const QString &before, const QString &now)
{
    constexpr qint64 largestAge = qint64(1) << 30;
    const qint64 first = before.section(u' ', 0, 0).toLongLong();
    if (first <= 0 || now.section(u' ', 1, 1).toLongLong() - first > largestAge)
        return {};
    return u"pg_catalog.age(xmin) OPERATOR(pg_catalog.<=) pg_catalog.age('%1'::pg_catalog.xid)"_s.arg(
        quint32(first));
}

} // namespace PostgresRowMark

} // namespace sito

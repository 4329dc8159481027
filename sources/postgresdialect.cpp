// SPDX-License-Identifier: MIT
#include <sources/postgresdialect_p.h>

#include <QRegularExpression>

namespace sito {

using namespace Qt::StringLiterals;

namespace PostgresDialect {

QString tablesStatement()
{
    return u"SELECT n.nspname, c.relname, c.oid::bigint, pg_catalog.pg_table_is_visible(c.oid) "
           "FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
           "WHERE c.relkind IN ('r', 'p') AND NOT c.relispartition "
           "AND n.nspname !~ '^pg_' AND n.nspname <> 'information_schema'"_s;
}

QString columnsStatement(qint64 table)
{
    return u"WITH RECURSIVE typed(number, name, required, type, modifier) AS ("
           "SELECT attnum, attname, attnotnull, atttypid, atttypmod FROM pg_catalog.pg_attribute "
           "WHERE attrelid = %1::oid AND attnum > 0 AND NOT attisdropped "
           "UNION ALL "
           "SELECT d.number, d.name, d.required OR t.typnotnull, t.typbasetype, t.typtypmod "
           "FROM typed d JOIN pg_catalog.pg_type t ON t.oid = d.type WHERE t.typtype = 'd') "
           "SELECT d.name, pg_catalog.format_type(d.type, d.modifier), d.required "
           "FROM typed d JOIN pg_catalog.pg_type t ON t.oid = d.type WHERE t.typtype <> 'd' ORDER BY d.number"_s
               .arg(table);
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
        return declaredType.endsWith("with time zone"_L1) ? u"(%1 AT TIME ZONE 'UTC')::text"_s.arg(name)
                                                          : name + u"::text"_s;
    }
    if (column.isText()) {
        // A text of its own at the front keeps the driver from taking U+FEFF for a mark of the encoding. What
        // a char(n) is padded with would be lost with it.
        static const QRegularExpression padded(u"^character\\((\\d+)\\)$"_s);
        const auto match = padded.match(declaredType);
        return match.hasMatch() ? u"'=' || rpad(%1::text, %2)"_s.arg(name, match.captured(1))
                                : u"'=' || "_s + name;
    }
    return name;
}

QString text(const QString &selected)
{
    return selected.sliced(1);
}

} // namespace PostgresDialect

} // namespace sito

// SPDX-License-Identifier: MIT
#include <sources/genericdialect_p.h>

#include <QMetaType>
#include <QSqlError>
#include <QSqlField>
#include <QSqlIndex>
#include <QSqlRecord>
#include <QStringList>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// What the metadata of a driver says of a column, as a declared type.
QString declaredType(const QSqlField &field)
{
    const bool hasDigits = field.length() > 0 && field.precision() >= 0;
    switch (field.metaType().id()) {
    case QMetaType::Bool:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Int:
        return u"INTEGER"_s;
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return u"BIGINT"_s;
    case QMetaType::Float:
    case QMetaType::Double:
        return hasDigits ? u"NUMERIC(%1,%2)"_s.arg(field.length()).arg(field.precision()) : u"DOUBLE"_s;
    case QMetaType::QString:
        return field.length() > 0 ? u"VARCHAR(%1)"_s.arg(field.length()) : u"TEXT"_s;
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return u"TIMESTAMP"_s;
    case QMetaType::QByteArray:
        return field.length() > 0 ? u"BLOB(%1)"_s.arg(field.length()) : u"BLOB"_s;
    default:
        return QString::fromLatin1(field.metaType().name());
    }
}

} // namespace

QList<SqlDialect::Table> GenericDialect::tables() const
{
    if (!connection().isOpen())
        fail(connection().lastError());
    QList<Table> result;
    const QStringList names = connection().tables(QSql::Tables);
    for (const QString &name : names)
        result.append({name, connection().driver()->escapeIdentifier(name, QSqlDriver::TableName)});
    return result;
}

QList<SqlDialect::Column> GenericDialect::columns(const Table &table) const
{
    QList<Column> result;
    const QSqlRecord record = connection().record(table.name);
    const QSqlIndex key = connection().primaryIndex(table.name);
    for (int i = 0; i < record.count(); ++i) {
        const QSqlField field = record.field(i);
        const bool required = field.requiredStatus() == QSqlField::Required || key.contains(field.name());
        result.append({field.name(), declaredType(field), !required});
    }
    return result;
}

std::unique_ptr<SourceRows> GenericDialect::rows(const Table &table, const QList<Column> &declared,
                                                 const std::vector<SourceColumn> &) const
{
    QStringList names;
    for (const Column &column : declared)
        names.append(connection().driver()->escapeIdentifier(column.name, QSqlDriver::FieldName));
    return std::make_unique<SqlRows>(connection(),
                                     u"SELECT "_s + names.join(u", "_s) + u" FROM "_s + table.quotedName);
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <hostkit/text/keychecks_p.h>

#include <data/datetime.h>
#include <data/exception.h>
#include <data/table.h>
#include <filters/valuefilter.h>

#include <hostkit/text/valuetext_p.h>

#include <QCoreApplication>
#include <QStringList>

#include <cmath>

namespace sito {

namespace {

/// Whether \a number keeps its value with \a scale digits after the point. Checks only for lost digits: a
/// number too large for the scale is refused when the predicate is made.
template <typename Number>
bool fitsScale(const Number &number, int scale)
{
    if (number.scale() <= scale)
        return true;
    Number rounded = number;
    rounded.setScale(short(scale));
    return rounded.compare(number) == 0;
}

} // namespace

void keychecks::requireComparable(const Table &table, const QList<int> &columns)
{
    for (const int column : columns) {
        const FieldType::Type type = table.columnDef(column)->type;
        if (type == FieldType::Raw || type == FieldType::Block) {
            throw Exception(
                QCoreApplication::translate(
                    "ColumnsFilter", "Столбец «%1» таблицы «%2» имеет тип %3: его значения не сравниваются")
                    .arg(table.columnName(column), table.name(), FieldType::typeName(type)));
        }
    }
}

void keychecks::requireFieldCount(qsizetype fields, qsizetype columns, const QString &key)
{
    if (fields != columns) {
        throw Exception(QCoreApplication::translate(
                            "ColumnsFilter", "Ключ «%1»: число значений (%2) не равно числу столбцов (%3)")
                            .arg(key, QString::number(fields), QString::number(columns)));
    }
}

void keychecks::requireWhole(const KeyValue &key, qsizetype columns)
{
    if (key.size() < columns)
        requireFieldCount(key.size(), columns, valuetext::shown(key));
}

void keychecks::requireNullable(const Table &table, int column, const QString &key)
{
    if (!table.columnDef(column)->nullable) {
        throw Exception(QCoreApplication::translate("ColumnsFilter",
                                                    "Ключ «%1»: столбец «%2» не допускает пустых значений")
                            .arg(key, table.columnName(column)));
    }
}

bool keychecks::isFaithful(const FieldValue &field, const QString &text)
{
    if (!field.isPresent())
        return text == field.toText();
    switch (field.def->type) {
    case FieldType::Double:
        return !std::isnan(field.value<double>());
    case FieldType::Decimal:
        return fitsScale(field.value<decimal>(), field.def->length);
    case FieldType::XDecimal:
        return fitsScale(xdecimal::fromData(field.data), field.def->length);
    case FieldType::VarChar:
        return text == field.toText();
    case FieldType::DateTime:
        return text.isEmpty() || field.value<qint64>() != 0;
    default:
        return true;
    }
}

void keychecks::refuseValue(const Table &table, int column, const QString &text, const QString &key)
{
    throw Exception(
        QCoreApplication::translate("ColumnsFilter",
                                    "Ключ «%1»: «%2» не может быть значением столбца «%3» типа %4")
            .arg(key, text, table.columnName(column), FieldType::typeName(table.columnDef(column)->type)));
}

KeyValue keychecks::keyFromText(const ValueFilter &filter, const QString &value)
{
    const QStringList parts = value.split(u',');
    requireFieldCount(parts.size(), filter.columns().size(), value);
    KeyValue key = filter.ValueFilter::valueToKey(value);
    for (qsizetype i = 0; i < key.size(); ++i) {
        const FieldValue &field = key.at(i);
        const int column = filter.columns().at(i);
        if (!field.isPresent() && field.toText() == parts.at(i))
            requireNullable(*filter.table(), column, value);
        if (!isFaithful(field, parts.at(i)))
            refuseValue(*filter.table(), column, parts.at(i), value);
    }
    return key;
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <hostkit/columnsfilter.h>

#include <data/datetime.h>
#include <data/exception.h>
#include <data/table.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// Whether \a number keeps its value with \a scale digits after the point. Only giving digits up is looked
/// at: a number too large for the scale is refused where the predicate is made.
template <typename Number>
bool fitsScale(const Number &number, int scale)
{
    if (number.scale() <= scale)
        return true;
    Number rounded = number;
    rounded.setScale(short(scale));
    return rounded.compare(number) == 0;
}

/// Whether \a field, which was read from \a text, is what the text says.
bool isFaithful(const FieldValue &field, const QString &text)
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

} // namespace

ColumnsFilter::ColumnsFilter(Table &table, const QList<int> &columns, QObject *parent)
    : ValueFilter(table, columns.constFirst(), columns, -1, parent)
{
    for (const int column : columns) {
        const FieldType::Type type = table.columnDef(column)->type;
        if (type == FieldType::Raw || type == FieldType::Block) {
            throw Exception(tr("Столбец «%1» таблицы «%2» имеет тип %3: его значения не сравниваются")
                                .arg(table.columnName(column), table.name(), FieldType::typeName(type)));
        }
    }
}

ColumnsFilter::~ColumnsFilter() = default;

QList<int> ColumnsFilter::columnsByName(const Table &table, const QStringList &names)
{
    QList<int> columns;
    for (const QString &name : names) {
        const int column = table.columnIndex(name);
        if (column < 0)
            throw Exception(tr("В таблице «%1» нет столбца «%2»").arg(table.name(), name));
        if (columns.contains(column))
            throw Exception(tr("Столбец «%1» назван дважды").arg(name));
        columns.append(column);
    }
    return columns;
}

QWidget *ColumnsFilter::createFilterWidget(QWidget *)
{
    return nullptr;
}

void ColumnsFilter::apply(QWidget *) {}

void ColumnsFilter::init(QWidget *) {}

QString ColumnsFilter::name() const
{
    QStringList names;
    for (const int column : columns())
        names.append(table()->columnName(column));
    return names.join(u',');
}

KeyValue ColumnsFilter::valueToKey(const QString &value) const
{
    const QStringList parts = value.split(u',');
    if (parts.size() != columns().size()) {
        throw Exception(tr("Ключ «%1»: число значений (%2) не равно числу столбцов (%3)")
                            .arg(value, QString::number(parts.size()), QString::number(columns().size())));
    }
    const KeyValue key = ValueFilter::valueToKey(value);
    for (qsizetype i = 0; i < key.size(); ++i) {
        const int column = columns().at(i);
        const FieldValue &field = key.at(i);
        if (!field.isPresent() && field.toText() == parts.at(i) && !field.def->nullable) {
            throw Exception(tr("Ключ «%1»: столбец «%2» не допускает пустых значений")
                                .arg(value, table()->columnName(column)));
        }
        if (!isFaithful(field, parts.at(i))) {
            throw Exception(tr("Ключ «%1»: «%2» не может быть значением столбца «%3» типа %4")
                                .arg(value, parts.at(i), table()->columnName(column),
                                     FieldType::typeName(field.def->type)));
        }
    }
    return key;
}

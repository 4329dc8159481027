// SPDX-License-Identifier: MIT
#include <hostkit/filters/columnsfilter.h>

#include <data/exception.h>
#include <data/table.h>
#include <filterfuncs/keypredicates.h>

#include <hostkit/text/keychecks_p.h>

namespace sito {

ColumnsFilter::ColumnsFilter(Table &table, const QList<int> &columns, QObject *parent)
    : ValueFilter(table, columns.constFirst(), columns, -1, parent)
{
    keychecks::requireComparable(table, columns);
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

FilterFunc *ColumnsFilter::createFilterFunc(QObject *parent) const
{
    return keypredicates::makeQuickest(table(), getAllExcludedKeys(), columns(), parent);
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
    return keychecks::keyFromText(*this, value);
}

} // namespace sito

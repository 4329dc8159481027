// SPDX-License-Identifier: MIT
#include <filters/selectfilter.h>

SelectFilter::SelectFilter(Table &table, int column, QObject *parent) : ValueFilter(table, column, parent) {}

SelectFilter::SelectFilter(Table &table, int firstId, const QList<int> &columns, int secondId,
                           QObject *parent)
    : ValueFilter(table, firstId, columns, secondId, parent)
{
}

SelectFilter::~SelectFilter() = default;

QString SelectFilter::selectActionName() const
{
    return tr("Выбрать");
}

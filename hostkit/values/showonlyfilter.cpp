// SPDX-License-Identifier: MIT
#include <hostkit/values/showonlyfilter.h>

#include <hostkit/text/valuetext_p.h>
#include <hostkit/values/oppositefunc_p.h>
#include <hostkit/values/showonlywidget.h>

#include <data/table.h>
#include <filterfuncs/keypredicates.h>

#include <QStringList>

#include <memory>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

ShowOnlyFilter::ShowOnlyFilter(Table &table, const QList<int> &columns, QObject *parent)
    : ColumnsFilter(table, columns, parent)
{
}

ShowOnlyFilter::~ShowOnlyFilter() = default;

FilterFunc *ShowOnlyFilter::createFilterFunc(QObject *parent) const
{
    std::unique_ptr<FilterFunc> func;
    if (hasValue())
        func.reset(keypredicates::makeQuickest(table(), getAllExcludedKeys(), columns()));
    return new OppositeFunc(std::move(func), parent);
}

QWidget *ShowOnlyFilter::createFilterWidget(QWidget *parent)
{
    return new ShowOnlyWidget(parent);
}

void ShowOnlyFilter::apply(QWidget *widget)
{
    const auto *editor = qobject_cast<ShowOnlyWidget *>(widget);
    if (editor && editor->isComplete())
        setAllExcludedKeys(editor->checkedKeys());
}

void ShowOnlyFilter::init(QWidget *widget)
{
    if (auto *editor = qobject_cast<ShowOnlyWidget *>(widget))
        editor->setKeys(*this);
}

QString ShowOnlyFilter::name() const
{
    QStringList names;
    for (const int column : columns())
        names.append(table()->columnName(column));
    return tr("только: %1").arg(names.join(u", "_s));
}

QString ShowOnlyFilter::text() const
{
    return valuetext::summary(*this);
}

QString ShowOnlyFilter::keyToText(const KeyValue &key) const
{
    return valuetext::shown(key);
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <hostkit/showonlyfilter.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>

#include "keypredicates_p.h"
#include "valuetext_p.h"

#include <QAbstractListModel>
#include <QListView>
#include <QStringList>

#include <memory>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// Answers the opposite of another predicate, which it owns; false when there is none.
class OppositeFunc final : public FilterFunc
{
    Q_OBJECT
public:
    OppositeFunc(std::unique_ptr<FilterFunc> func, QObject *parent)
        : FilterFunc(parent), m_func(std::move(func))
    {
    }
    bool filter(const Record &record) const override { return m_func && !m_func->filter(record); }

private:
    const std::unique_ptr<FilterFunc> m_func;
};

/// The keys of a filter, each with a check box.
class KeysModel final : public QAbstractListModel
{
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    void fill(const ShowOnlyFilter &filter)
    {
        beginResetModel();
        m_keys = filter.getAllExcludedKeys();
        m_isChecked.assign(std::size_t(m_keys.size()), true);
        m_texts.clear();
        m_texts.reserve(m_keys.size());
        for (const KeyValue &key : std::as_const(m_keys))
            m_texts.append(filter.keyToText(key));
        endResetModel();
    }
    QList<KeyValue> checkedKeys() const
    {
        QList<KeyValue> keys;
        for (qsizetype i = 0; i < m_keys.size(); ++i) {
            if (m_isChecked[std::size_t(i)])
                keys.append(m_keys.at(i));
        }
        return keys;
    }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(m_keys.size());
    }
    Qt::ItemFlags flags(const QModelIndex &) const override
    {
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid())
            return QVariant();
        if (role == Qt::DisplayRole)
            return m_texts.at(index.row());
        if (role == Qt::CheckStateRole)
            return m_isChecked[std::size_t(index.row())] ? Qt::Checked : Qt::Unchecked;
        return QVariant();
    }
    bool setData(const QModelIndex &index, const QVariant &value, int role) override
    {
        if (!index.isValid() || role != Qt::CheckStateRole)
            return false;
        m_isChecked[std::size_t(index.row())] = value.toInt() == Qt::Checked;
        Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
        return true;
    }

private:
    QList<KeyValue> m_keys;
    QStringList m_texts;
    std::vector<bool> m_isChecked;
};

KeysModel *keysModel(QWidget *widget)
{
    const auto *view = qobject_cast<QListView *>(widget);
    return view ? qobject_cast<KeysModel *>(view->model()) : nullptr;
}

} // namespace

ShowOnlyFilter::ShowOnlyFilter(Table &table, const QList<int> &columns, QObject *parent)
    : ColumnsFilter(table, columns, parent)
{
}

ShowOnlyFilter::~ShowOnlyFilter() = default;

FilterFunc *ShowOnlyFilter::createFilterFunc(QObject *parent) const
{
    std::unique_ptr<FilterFunc> func;
    if (hasValue())
        func.reset(keypredicates::make(table(), getAllExcludedKeys(), columns(), nullptr));
    return new OppositeFunc(std::move(func), parent);
}

QWidget *ShowOnlyFilter::createFilterWidget(QWidget *parent)
{
    auto *view = new QListView(parent);
    view->setObjectName(u"keptKeys"_s);
    view->setAccessibleName(tr("Показываемые значения"));
    view->setUniformItemSizes(true);
    view->setModel(new KeysModel(view));
    return view;
}

void ShowOnlyFilter::apply(QWidget *widget)
{
    if (const KeysModel *keys = keysModel(widget))
        setAllExcludedKeys(keys->checkedKeys());
}

void ShowOnlyFilter::init(QWidget *widget)
{
    if (KeysModel *keys = keysModel(widget)) {
        keys->fill(*this);
        static_cast<QListView *>(widget)->setCurrentIndex(keys->index(0));
    }
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

#include "showonlyfilter.moc"

// SPDX-License-Identifier: MIT
#include <hostkit/values/checkedkeysmodel_p.h>

#include <filters/valuefilter.h>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

void CheckedKeysModel::fill(const ValueFilter &filter)
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

bool CheckedKeysModel::isAnyChecked() const
{
    return std::find(m_isChecked.begin(), m_isChecked.end(), true) != m_isChecked.end();
}

QList<KeyValue> CheckedKeysModel::checkedKeys() const
{
    QList<KeyValue> keys;
    for (qsizetype i = 0; i < m_keys.size(); ++i) {
        if (m_isChecked[std::size_t(i)])
            keys.append(m_keys.at(i));
    }
    return keys;
}

int CheckedKeysModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_keys.size());
}

Qt::ItemFlags CheckedKeysModel::flags(const QModelIndex &) const
{
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> CheckedKeysModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(Qt::CheckStateRole, "checkState"_ba);
    return names;
}

QVariant CheckedKeysModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    if (role == Qt::DisplayRole)
        return m_texts.at(index.row());
    if (role == Qt::CheckStateRole)
        return m_isChecked[std::size_t(index.row())] ? Qt::Checked : Qt::Unchecked;
    return QVariant();
}

bool CheckedKeysModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole)
        return false;
    m_isChecked[std::size_t(index.row())] = value.toInt() == Qt::Checked;
    Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>

#include <QAbstractListModel>
#include <QList>
#include <QStringList>

#include <vector>

class ValueFilter;

namespace sito {

/// The keys of a filter, one in a row, each with a check box.
class CheckedKeysModel final : public QAbstractListModel
{
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    /// Shows the keys that \a filter has now, all of them checked. A model reset.
    void fill(const ValueFilter &filter);
    bool isAnyChecked() const;
    QList<KeyValue> checkedKeys() const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

private:
    QList<KeyValue> m_keys;
    QStringList m_texts;
    std::vector<bool> m_isChecked;
};

} // namespace sito

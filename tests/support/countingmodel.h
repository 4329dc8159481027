// SPDX-License-Identifier: MIT
#pragma once

#include <settings/settingsmodel.h>

#include <QSet>
#include <QString>

/// Counts what it is asked, and writes down of which rows.
class CountingModel : public SettingsModel
{
    Q_OBJECT

public:
    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override
    {
        const QModelIndex result = SettingsModel::index(row, column, parent);
        ++lookups;
        note(result);
        return result;
    }
    QModelIndex parent(const QModelIndex &index) const override
    {
        ++lookups;
        note(index);
        return SettingsModel::parent(index);
    }
    int rowCount(const QModelIndex &parent = {}) const override
    {
        ++counts;
        return SettingsModel::rowCount(parent);
    }
    bool hasChildren(const QModelIndex &parent = {}) const override
    {
        ++counts;
        note(parent);
        return SettingsModel::hasChildren(parent);
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        ++answers;
        note(index);
        return SettingsModel::data(index, role);
    }
    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        ++answers;
        note(index);
        return SettingsModel::flags(index);
    }

    /// Everything so far.
    int questions() const { return lookups + counts + answers; }
    void forget()
    {
        asked.clear();
        lookups = 0;
        counts = 0;
        answers = 0;
    }

    mutable QSet<QString> asked;
    mutable int lookups = 0;
    mutable int counts = 0;
    mutable int answers = 0;

private:
    void note(const QModelIndex &index) const
    {
        if (index.isValid())
            asked += SettingsModel::data(index, Qt::ToolTipRole).toString();
    }
};

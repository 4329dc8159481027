// SPDX-License-Identifier: MIT
#pragma once

#include <QModelIndexList>
#include <QSortFilterProxyModel>
#include <QString>

namespace sito {

class SettingsChanges;

/// The rows of a SettingsViewProxy that a search finds, with the groups around them. Marks pending changes.
class SettingsSearchModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    static constexpr int ValueColumn = 2;
    /// Tells whether a row holds a pending change, or a removal below it.
    static constexpr int PendingRole = Qt::UserRole + 1;

    /// \a changes must outlive the model.
    SettingsSearchModel(const SettingsChanges &changes, QObject *parent);

    /// Shows the rows whose path, type or value contains \a text, ignoring case; all rows when it is empty.
    void search(const QString &text);
    const QString &text() const { return m_text; }
    /// Announces that the marks of \a rows, which are rows of the SettingsModel, have changed.
    void remark(const QModelIndexList &rows);

    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override;

private:
    bool isPending(const QModelIndex &index) const;

    const SettingsChanges &m_changes;
    QString m_text;
};

} // namespace sito

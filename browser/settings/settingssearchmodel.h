// SPDX-License-Identifier: MIT
#pragma once

#include <QModelIndexList>
#include <QSortFilterProxyModel>
#include <QString>

namespace sito {

class SettingsChanges;

/// The rows of a SettingsViewProxy that a search finds, with what is above them; marks pending changes.
class SettingsSearchModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    static constexpr int ValueColumn = 2;
    /// Tells whether a row holds a pending change, or a removal below it.
    static constexpr int PendingRole = Qt::UserRole + 1;

    /// \a changes must live as long.
    SettingsSearchModel(const SettingsChanges &changes, QObject *parent);

    /// Shows the rows that hold \a text in path, type or value, whatever its case; all when it is empty.
    void search(const QString &text);
    const QString &text() const { return m_text; }
    /// Announces the marks of \a rows of the SettingsModel.
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

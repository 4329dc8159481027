// SPDX-License-Identifier: MIT
#include <browser/settings/settingssearchmodel.h>

#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>

#include <QApplication>
#include <QFont>

namespace sito {

SettingsSearchModel::SettingsSearchModel(const SettingsChanges &changes, QObject *parent)
    : QSortFilterProxyModel(parent), m_changes(changes)
{
}

void SettingsSearchModel::search(const QString &text)
{
    m_text = text;
    // Without a search, an edit hides or shows no group around it.
    if (isRecursiveFilteringEnabled() == text.isEmpty())
        setRecursiveFilteringEnabled(!text.isEmpty());
    else
        invalidateFilter();
}

QVariant SettingsSearchModel::data(const QModelIndex &index, int role) const
{
    switch (role) {
    case Qt::FontRole:
        if (isPending(index)) {
            QFont font = QApplication::font("QTreeView");
            font.setBold(true);
            return font;
        }
        return {};
    case PendingRole:
        return isPending(index);
    case Qt::ToolTipRole:
        return settingsPath(index);
    case Qt::AccessibleTextRole: {
        QString text = settingsValueText(settingsValue(index));
        if (index.column() == 0 && m_changes.isEdited(settingsPath(index)))
            text += tr(", правка ждёт записи");
        else if (index.column() == 0 && isPending(index))
            text += tr(", ждут удаления: %1").arg(m_changes.removalsIn(settingsPath(index)));
        return text;
    }
    default:
        return QSortFilterProxyModel::data(index, role);
    }
}

Qt::ItemFlags SettingsSearchModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QSortFilterProxyModel::flags(index);
    const bool editable = flags.testFlag(Qt::ItemIsEditable) &&
                          !index.siblingAtColumn(0).data().toString().isEmpty() &&
                          SettingsDelegate::isEditable(settingsValue(index));
    flags.setFlag(Qt::ItemIsEditable, editable);
    return flags;
}

void SettingsSearchModel::remark(const QModelIndexList &rows)
{
    const auto *proxy = qobject_cast<const QAbstractProxyModel *>(sourceModel());
    for (const QModelIndex &row : rows) {
        const QModelIndex shown = mapFromSource(proxy->mapFromSource(row));
        if (shown.isValid())
            Q_EMIT dataChanged(shown, shown.siblingAtColumn(ValueColumn),
                               {Qt::FontRole, PendingRole, Qt::AccessibleTextRole});
    }
}

bool SettingsSearchModel::filterAcceptsRow(int row, const QModelIndex &parent) const
{
    if (m_text.isEmpty())
        return true;
    const QModelIndex first = sourceModel()->index(row, 0, parent);
    if (settingsPath(first).contains(m_text, Qt::CaseInsensitive))
        return true;
    for (int column = 0; column <= ValueColumn; ++column) {
        const QVariant value = settingsValue(first.siblingAtColumn(column));
        const QString text =
            value.typeId() == QMetaType::QString ? value.toString() : settingsValueText(value);
        if (text.contains(m_text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

bool SettingsSearchModel::isPending(const QModelIndex &index) const
{
    const QString path = settingsPath(index);
    return m_changes.removalsIn(path) > 0 ||
           (m_changes.isEdited(path) && !hasChildren(index.siblingAtColumn(0)));
}

} // namespace sito

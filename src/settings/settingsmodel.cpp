// SPDX-License-Identifier: MIT
#include <settings/settingsmodel.h>

#include <settings/settingsmodel_p.h>

#include <QSettings>

namespace {

constexpr int columns = 3;
constexpr int nameColumn = 0;
constexpr int typeColumn = 1;
constexpr int valueColumn = 2;

/// Whether \a path ends with the name of an entry. QSettings takes any other path for the group around the
/// entry.
bool namesEntry(const QString &path)
{
    return !path.isEmpty() && !path.endsWith(u'/');
}

/// Registers the type when the library is loaded, so that it is found by name before its first use.
[[maybe_unused]] const int settingsModelTypeId = qRegisterMetaType<SettingsModel>();

} // namespace

SettingsModel::SettingsModel(QObject *parent)
    : QAbstractItemModel(parent), d(std::make_unique<SettingsModelPrivate>(this))
{
}

SettingsModel::~SettingsModel() = default;

QSettings *SettingsModel::settings() const
{
    return d->settings;
}

void SettingsModel::setSettings(QSettings *settings)
{
    if (d->settings == settings)
        return;
    d->settings = settings;
    d->rebuild();
}

SettingsModel::EditStrategy SettingsModel::editStrategy() const
{
    return d->editStrategy;
}

void SettingsModel::setEditStrategy(EditStrategy strategy)
{
    d->editStrategy = strategy;
}

bool SettingsModel::readOnly() const
{
    return d->readOnly;
}

void SettingsModel::setReadOnly(bool readOnly)
{
    d->readOnly = readOnly;
}

QModelIndex SettingsModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    SettingsModelItem *child = d->item(parent)->children.value(row);
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex SettingsModel::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    SettingsModelItem *parentItem = d->item(index)->parent;
    // Null for the root, whose index is the parent in top-level notifications; proxies ask for its parent.
    if (!parentItem || parentItem == d->root)
        return {};
    return d->index(parentItem);
}

int SettingsModel::rowCount(const QModelIndex &parent) const
{
    return static_cast<int>(d->item(parent)->children.size());
}

int SettingsModel::columnCount(const QModelIndex & /*parent*/) const
{
    return columns;
}

bool SettingsModel::hasChildren(const QModelIndex &parent) const
{
    return d->item(parent)->type != SettingsModelItem::Key;
}

QVariant SettingsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const SettingsModelItem *item = d->item(index);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        switch (index.column()) {
        case nameColumn:
            return item->name;
        case typeColumn:
            if (item->type == SettingsModelItem::Group)
                return {};
            return QString::fromLatin1(QMetaType(item->valueType).name());
        case valueColumn:
            if (item->value.typeId() == QMetaType::QStringList)
                return item->value.toStringList().join(u',');
            return item->value;
        default:
            return {};
        }
    case Qt::DecorationRole:
        if (index.column() != nameColumn)
            return {};
        return item->type == SettingsModelItem::Group ? d->groupIcon : d->keyIcon;
    case Qt::ToolTipRole:
        return item->path;
    default:
        return {};
    }
}

bool SettingsModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!d->settings || !index.isValid() || !flags(index).testFlag(Qt::ItemIsEditable) || d->readOnly)
        return false;
    if ((role == Qt::DisplayRole || role == Qt::EditRole) && index.column() == valueColumn) {
        SettingsModelItem *item = d->item(index);
        item->value = value;
        if (d->editStrategy == OnFieldChange && namesEntry(item->path))
            d->settings->setValue(item->path, value);
    }
    Q_EMIT dataChanged(index, index, {});
    return true;
}

QVariant SettingsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole) {
        switch (section) {
        case nameColumn:
            return tr("Ключ");
        case typeColumn:
            return tr("Тип");
        case valueColumn:
            return tr("Значение");
        default:
            break;
        }
    }
    return QAbstractItemModel::headerData(section, orientation, role);
}

bool SettingsModel::removeRows(int row, int count, const QModelIndex &parent)
{
    if (!d->settings || row < 0 || count < 1)
        return false;
    if (row > rowCount(parent) - count || d->readOnly)
        return false;
    SettingsModelItem *parentItem = d->item(parent);
    beginRemoveRows(parent, row, row + count - 1);
    for (int i = row + count - 1; i >= row; --i) {
        SettingsModelItem *child = parentItem->children.at(i);
        if (d->editStrategy == OnManualSubmit)
            d->removedKeys.append(child->path);
        else if (d->editStrategy == OnFieldChange && namesEntry(child->path))
            d->settings->remove(child->path);
    }
    SettingsModelPrivate::deleteChildren(parentItem, row, count);
    endRemoveRows();
    return true;
}

Qt::ItemFlags SettingsModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (!d->readOnly && index.column() == valueColumn && d->item(index)->type == SettingsModelItem::Key)
        return flags | Qt::ItemIsEditable;
    return flags;
}

void SettingsModel::clear()
{
    if (d->settings)
        d->rebuild();
}

void SettingsModel::submitAll()
{
    if (d->editStrategy != OnManualSubmit || !d->settings)
        return;
    for (const QString &path : std::as_const(d->removedKeys))
        d->settings->remove(path);
    d->submit(d->root);
}

void SettingsModel::revertAll()
{
    if (d->editStrategy != OnManualSubmit)
        return;
    d->removedKeys.clear();
    refresh();
}

void SettingsModel::refresh()
{
    if (d->settings)
        d->refresh(d->root);
}

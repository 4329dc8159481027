// SPDX-License-Identifier: MIT
#include <settings/settingsmodel_p.h>

#include <QApplication>
#include <QSettings>
#include <QStringBuilder>
#include <QStyle>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace {

/// The row of the first child named \a name, or -1. Names in one group often start alike and are equally
/// long, but differ at their ends, so comparing length and end nearly always decides without a call.
int rowOfName(const SettingsModelItem *parent, const QString &name)
{
    const auto first = parent->children.constBegin();
    const auto last = parent->children.constEnd();
    const qsizetype size = name.size();
    constexpr qsizetype tail = sizeof(quint64) / sizeof(char16_t);
    if (size >= tail) {
        quint64 end;
        std::memcpy(&end, name.constData() + size - tail, sizeof end);
        for (auto it = first; it != last; ++it) {
            const QString &other = (*it)->name;
            if (other.size() != size)
                continue;
            quint64 otherEnd;
            std::memcpy(&otherEnd, other.constData() + size - tail, sizeof otherEnd);
            if (otherEnd == end && other == name)
                return static_cast<int>(it - first);
        }
    } else {
        for (auto it = first; it != last; ++it) {
            const QString &other = (*it)->name;
            if (other.size() == size && (size == 0 || (other.back() == name.back() && other == name)))
                return static_cast<int>(it - first);
        }
    }
    return -1;
}

int rowCount(const SettingsModelItem *item)
{
    return static_cast<int>(item->children.size());
}

} // namespace

QString childPath(const QString &group, const QString &name)
{
    if (group.isEmpty())
        return name;
    if (!group.contains(u'%'))
        return group % u'/' % name;
    return QStringLiteral("%1/%2").arg(group).arg(name); // clazy:exclude=qstring-arg
}

SettingsModelPrivate::SettingsModelPrivate(SettingsModel *model)
    : q(model),
      root(new SettingsModelItem(SettingsModelItem::Root, nullptr, -1)),
      settings(nullptr),
      editStrategy(SettingsModel::OnFieldChange),
      readOnly(true)
{
    const QStyle *style = QApplication::style();
    groupIcon.addPixmap(style->standardPixmap(QStyle::SP_DirIcon), QIcon::Normal, QIcon::Off);
    keyIcon.addPixmap(style->standardPixmap(QStyle::SP_FileIcon), QIcon::Normal, QIcon::Off);
}

SettingsModelPrivate::~SettingsModelPrivate()
{
    delete root;
}

QModelIndex SettingsModelPrivate::index(SettingsModelItem *item) const
{
    const int row = item->parent ? static_cast<int>(item->parent->children.indexOf(item)) : 0;
    return q->createIndex(row, 0, item);
}

/// The same as index(), but faster when \a row is the row of \a item.
QModelIndex SettingsModelPrivate::indexAt(SettingsModelItem *item, int row) const
{
    if (item->parent && row < rowCount(item->parent) && item->parent->children.at(row) == item)
        return q->createIndex(row, 0, item);
    return index(item);
}

SettingsModelItem *SettingsModelPrivate::item(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<SettingsModelItem *>(index.internalPointer()) : root;
}

SettingsModelItem *SettingsModelPrivate::findItem(SettingsModelItem *parent, const QString &name)
{
    const int row = rowOfName(parent, name);
    return row < 0 ? nullptr : parent->children.at(row);
}

void SettingsModelPrivate::moveItemUp(SettingsModelItem *parent, int from, int to)
{
    if (from < to) {
        q->beginRemoveRows(index(parent), to, from - 1);
        q->endRemoveRows();
    }
}

void SettingsModelPrivate::deleteChildren(SettingsModelItem *parent, int first, int count)
{
    QList<SettingsModelItem *> &children = parent->children;
    QList<SettingsModelItem *> gone = children.mid(first, count);
    children.remove(first, gone.size());

    // A node may be listed at other rows, too. One pass finds them all; nodes that unlink themselves would
    // search the list once each.
    std::sort(gone.begin(), gone.end());
    children.removeIf([&gone](SettingsModelItem *child) {
        return child && std::binary_search(gone.cbegin(), gone.cend(), child);
    });

    SettingsModelItem owner(SettingsModelItem::Group, nullptr, -1);
    for (SettingsModelItem *child : std::as_const(gone)) {
        if (child && child->parent == parent)
            child->parent = &owner;
    }
    owner.children = std::move(gone);
}

/// The value of \a key. QSettings warns of an empty key before it returns an invalid value.
QVariant SettingsModelPrivate::read(const QString &key) const
{
    return key.isEmpty() ? QVariant() : settings->value(key);
}

void SettingsModelPrivate::fillGroup(SettingsModelItem *parent)
{
    struct Level
    {
        SettingsModelItem *item;
        QString path;
        QStringList groups;
        qsizetype next;
    };
    std::vector<Level> levels;
    const auto enter = [&](SettingsModelItem *item) {
        levels.push_back({item, settings->group(), settings->childGroups(), 0});
        item->children.reserve(item->children.size() + levels.back().groups.size());
    };

    enter(parent);
    while (!levels.empty()) {
        Level &level = levels.back();
        if (level.next < level.groups.size()) {
            const QString &name = level.groups.at(level.next++);
            auto *group = new SettingsModelItem(SettingsModelItem::Group, level.item, -1);
            group->name = name;
            group->path = childPath(level.path, name);
            // beginGroup() with an empty name stays in the same group, which would be listed again forever.
            if (!name.isEmpty()) {
                settings->beginGroup(name);
                enter(group);
            }
            continue;
        }
        const QStringList keys = settings->childKeys();
        level.item->children.reserve(level.item->children.size() + keys.size());
        for (const QString &name : keys) {
            auto *key = new SettingsModelItem(SettingsModelItem::Key, level.item, -1);
            key->name = name;
            key->value = read(name);
            key->valueType = key->value.typeId();
            key->path = childPath(level.path, name);
        }
        levels.pop_back();
        if (!levels.empty())
            settings->endGroup();
    }
}

void SettingsModelPrivate::rebuild()
{
    q->beginResetModel();
    if (settings)
        fillGroup(root);
    q->endResetModel();
}

void SettingsModelPrivate::refresh(SettingsModelItem *parent)
{
    struct Level
    {
        SettingsModelItem *item;
        int itemRow;
        QString path;
        QStringList groups;
        qsizetype next;
        int row;
    };
    std::vector<Level> levels;
    const auto enter = [&](SettingsModelItem *item, int itemRow) {
        levels.push_back({item, itemRow, settings->group(), settings->childGroups(), 0, 0});
    };
    const auto insert = [&](const Level &level, SettingsModelItem::Type type) {
        q->beginInsertRows(indexAt(level.item, level.itemRow), level.row, level.row);
        auto *item = new SettingsModelItem(type, level.item, level.row);
        q->endInsertRows();
        return item;
    };

    enter(parent, 0);
    while (!levels.empty()) {
        Level &level = levels.back();
        if (level.next < level.groups.size()) {
            const QString &name = level.groups.at(level.next++);
            int row = rowOfName(level.item, name);
            SettingsModelItem *group;
            if (row < 0) {
                group = insert(level, SettingsModelItem::Group);
                row = level.row;
            } else {
                group = level.item->children.at(row);
                group->valueType = 0;
                group->type = SettingsModelItem::Group;
                group->value = QVariant();
                moveItemUp(level.item, row, level.row);
            }
            group->name = name;
            group->path = childPath(level.path, name);
            ++level.row;
            if (!name.isEmpty()) {
                settings->beginGroup(name);
                enter(group, row);
            }
            continue;
        }

        const QStringList keys = settings->childKeys();
        for (const QString &name : keys) {
            int row = rowOfName(level.item, name);
            SettingsModelItem *key;
            if (row < 0) {
                key = insert(level, SettingsModelItem::Key);
                row = level.row;
            } else {
                key = level.item->children.at(row);
                key->type = SettingsModelItem::Key;
                moveItemUp(level.item, row, level.row);
            }
            key->name = name;
            key->value = read(name);
            key->valueType = key->value.typeId();
            key->path = childPath(level.path, name);
            const QModelIndex left = indexAt(key, row);
            Q_EMIT q->dataChanged(left, q->createIndex(left.row(), 2, key), {});
            ++level.row;
        }

        const int surplus = rowCount(level.item) - level.row;
        if (surplus > 0) {
            q->beginRemoveRows(indexAt(level.item, level.itemRow), level.row, rowCount(level.item) - 1);
            deleteChildren(level.item, level.row, surplus);
            q->endRemoveRows();
        }
        levels.pop_back();
        if (!levels.empty())
            settings->endGroup();
    }
}

void SettingsModelPrivate::submit(SettingsModelItem *item)
{
    struct Level
    {
        SettingsModelItem *item;
        qsizetype next;
    };
    std::vector<Level> levels;
    const auto write = [&](SettingsModelItem *node) {
        // An empty name removes the whole current group, as only the root may.
        if (node->name.isEmpty() && node->parent)
            return;
        settings->remove(node->name);
        if (node->type == SettingsModelItem::Key) {
            settings->setValue(node->name, node->value);
        } else {
            settings->beginGroup(node->name);
            levels.push_back({node, 0});
        }
    };

    write(item);
    while (!levels.empty()) {
        Level &level = levels.back();
        if (level.next < level.item->children.size()) {
            write(level.item->children.at(level.next++));
        } else {
            settings->endGroup();
            levels.pop_back();
        }
    }
}

// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// One node of the tree that mirrors a settings store: a group, a key, or the invisible root above them.
///
/// A plain value holder. A node owns its children; the holder of the root owns the tree. A change of `name`
/// does not change `path` and `value`: fill, merge and edits set them (see SettingsModelPrivate). The order
/// of the members is fixed.
class SettingsModelItem
{
public:
    /// The kind of a node; the numbers are fixed.
    enum Type {
        Root = 0,  ///< the invisible root only
        Group = 1, ///< a branch
        Key = 2    ///< a leaf with a value
    };

    /// Creates a node without name, path, value and children. When \a parent is not null, inserts the node
    /// into its children at \a index, or appends it when \a index is -1 or any other position outside the
    /// list.
    SettingsModelItem(Type type, SettingsModelItem *parent, int index);

    /// Deletes the whole subtree, however deep, and removes every occurrence of the node from the children of
    /// its parent. Nodes below that are null are skipped, and those listed twice are deleted once.
    ~SettingsModelItem();

    /// The node that owns this one; null only for the root.
    SettingsModelItem *parent;
    /// The owned children, in row order.
    QList<SettingsModelItem *> children;
    /// The last component of the path, as the store listed it.
    QString name;
    /// A key's value as last read or edited; null for the root and for groups.
    QVariant value;
    /// The full path of the entry from the top of the store.
    QString path;
    /// The meta-type id of the value as last *read*; 0 for the root, for groups, and for a value without a
    /// type.
    int valueType;
    /// The kind of this node.
    Type type;

private:
    Q_DISABLE_COPY_MOVE(SettingsModelItem)
};

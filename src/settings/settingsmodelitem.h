// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// One node of the tree that mirrors a settings store: a group, a key, or the invisible root above them.
///
/// A plain value holder. A node owns its children; whoever holds the root owns the tree. Nothing here keeps
/// `path` and `value` in step with `name`: fill, merge and edit set them (see SettingsModelPrivate).
/// The order of the members is fixed.
class SettingsModelItem
{
public:
    /// The kind of a node; the numbers are fixed.
    enum Type {
        Root = 0,  ///< the invisible root, and nothing else
        Group = 1, ///< a branch
        Key = 2    ///< a leaf with a value
    };

    /// Makes a node without name, path, value and children, and links it into \a parent when there is one:
    /// appended when \a index is -1, else inserted at that position. A position outside of the list appends.
    SettingsModelItem(Type type, SettingsModelItem *parent, int index);

    /// Deletes the whole subtree, however deep, and unlinks the node from its parent.
    ~SettingsModelItem();

    /// The node that owns this one; null for the root alone.
    SettingsModelItem *parent;
    /// The owned children, in the order of the rows.
    QList<SettingsModelItem *> children;
    /// The last component of the path, as the store listed it.
    QString name;
    /// A key's value as last read or edited; null for the root and for groups.
    QVariant value;
    /// The full path of the entry, counted from the top of the store.
    QString path;
    /// The meta-type id of the value as last *read*; 0 for the root, for groups, and for a value without
    /// type.
    int valueType;
    /// The kind of this node.
    Type type;

private:
    Q_DISABLE_COPY_MOVE(SettingsModelItem)
};

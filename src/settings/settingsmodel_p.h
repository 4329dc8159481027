// SPDX-License-Identifier: MIT
#pragma once

#include <settings/settingsmodel.h>
#include <settings/settingsmodelitem.h>

#include <QIcon>
#include <QModelIndex>
#include <QStringList>

class QSettings;

/// "group/name", or \a name alone when \a group is empty. Equals `"%1/%2".arg(group).arg(name)`: a "%"
/// followed by a digit in \a group takes part in the substitution of \a name.
QString childPath(const QString &group, const QString &name);

/// The private half of SettingsModel. Owns the tree, fills it from the store, merges a changed store into it
/// and writes it back. The order of the members is fixed.
///
/// fillGroup(), refresh() and submit() need a store and restore its current group. They keep their own stack,
/// so only memory limits the depth of a store.
class SettingsModelPrivate
{
public:
    explicit SettingsModelPrivate(SettingsModel *model);
    ~SettingsModelPrivate();

    /// The index of \a item in column 0; invalid when its parent does not list it. The index of the root is
    /// valid (row 0, column 0): refresh() passes it as the parent of top-level rows.
    QModelIndex index(SettingsModelItem *item) const;
    /// The node of \a index, or the root when \a index is invalid.
    SettingsModelItem *item(const QModelIndex &index) const;
    /// The first child of \a parent named \a name, of any type, or null. Case-sensitive.
    SettingsModelItem *findItem(SettingsModelItem *parent, const QString &name);
    /// Announces the removal of an empty range of \a parent, the rows from \a to up to \a from - 1, when \a
    /// from is less than \a to. Moves nothing.
    void moveItemUp(SettingsModelItem *parent, int from, int to);

    /// Deletes \a count children of \a parent, starting at row \a first. Emits nothing.
    static void deleteChildren(SettingsModelItem *parent, int first, int count);

    /// Appends the store's current group to \a parent: groups first, then keys, each in the store's order.
    /// Emits nothing.
    void fillGroup(SettingsModelItem *parent);
    /// Calls fillGroup() for the root under a model reset. Removes nothing.
    void rebuild();
    /// Merges the store's current group into the children of \a parent.
    void refresh(SettingsModelItem *parent);
    /// Replaces the entry named like \a item in the store's current group with \a item and its subtree.
    void submit(SettingsModelItem *item);

    /// The model that emits the notifications.
    SettingsModel *q;
    SettingsModelItem *root;
    /// Not owned; null until one is set.
    QSettings *settings;
    SettingsModel::EditStrategy editStrategy;
    bool readOnly;
    QIcon groupIcon;
    QIcon keyIcon;
    /// Paths of the rows removed with `OnManualSubmit`. A submit does not clear them.
    QStringList removedKeys;

private:
    Q_DISABLE_COPY_MOVE(SettingsModelPrivate)
    QVariant read(const QString &key) const;
    QModelIndex indexAt(SettingsModelItem *item, int row) const;
};

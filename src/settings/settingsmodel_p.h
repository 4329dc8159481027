// SPDX-License-Identifier: MIT
#pragma once

#include <settings/settingsmodel.h>
#include <settings/settingsmodelitem.h>

#include <QIcon>
#include <QModelIndex>
#include <QStringList>

class QSettings;

/// "group/name", or \a name alone when \a group is empty. A "%" with a digit in \a group takes part in the
/// substitution of \a name, as in `"%1/%2".arg(group).arg(name)`.
QString childPath(const QString &group, const QString &name);

/// The private half of SettingsModel: owns the tree, fills it from the store, merges a changed store into it
/// and writes it back. The order of the members is fixed.
///
/// The walks keep their own stack, so the depth of a store is limited by memory alone. fillGroup(), refresh()
/// and submit() need a store and leave its current group as they found it.
class SettingsModelPrivate
{
public:
    explicit SettingsModelPrivate(SettingsModel *model);
    ~SettingsModelPrivate();

    /// The index of \a item, column 0; invalid when its parent does not list it. The root has one too: row 0
    /// and column 0, valid, and it is what top-level notifications of refresh() carry as parent.
    QModelIndex index(SettingsModelItem *item) const;
    /// The node of \a index; the root when it is invalid.
    SettingsModelItem *item(const QModelIndex &index) const;
    /// The first child of \a parent named \a name, of whichever kind, or null. Case matters.
    SettingsModelItem *findItem(SettingsModelItem *parent, const QString &name);
    /// When \a from is less than \a to: announces the removal of the rows \a to to \a from - 1 of \a parent,
    /// an empty range, and moves nothing.
    void moveItemUp(SettingsModelItem *parent, int from, int to);

    /// Deletes \a count children of \a parent, from row \a first on. Emits nothing.
    static void deleteChildren(SettingsModelItem *parent, int first, int count);

    /// Appends the store's current group to \a parent: groups first, then keys, in the order of the store.
    void fillGroup(SettingsModelItem *parent);
    /// fillGroup() of the root under a model reset. Removes nothing.
    void rebuild();
    /// Merges the store's current group into the children of \a parent.
    void refresh(SettingsModelItem *parent);
    /// Replaces the entry of \a item in the store's current group by \a item and all below it.
    void submit(SettingsModelItem *item);

    /// The model in whose name notifications are emitted.
    SettingsModel *q;
    SettingsModelItem *root;
    /// Not owned; null until one is set.
    QSettings *settings;
    SettingsModel::EditStrategy editStrategy;
    bool readOnly;
    QIcon groupIcon;
    QIcon keyIcon;
    /// Paths of the rows removed with `OnManualSubmit`; never emptied by a submit.
    QStringList removedKeys;

private:
    Q_DISABLE_COPY_MOVE(SettingsModelPrivate)
    QVariant read(const QString &key) const;
    QModelIndex indexAt(SettingsModelItem *item, int row) const;
};

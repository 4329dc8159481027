// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/settings/settingschange.h>
#include <hostkit/settings/settingsdiff.h>
#include <hostkit/settings/storecontent.h>

#include <QAbstractTableModel>
#include <QHash>
#include <QList>
#include <QModelIndexList>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QVariant>

class SettingsModel;

namespace sito {

/// The pending changes of a SettingsModel: edits and removals that wait for submitAll(). A list for views;
/// each change can be dismissed alone.
///
/// Changes are found by comparison, see SettingsDiff: of the rows of the model with a StoreContent. With
/// `OnFieldChange` the list is empty. The store must have no current group.
///
/// **When the file is gone**
/// A store whose file was deleted or overwritten with something else reads as empty, and a model that follows
/// it loses all rows and all pending changes. Functions here that read the store therefore check storeState()
/// first. Unless it is `Readable`, they change nothing and return false. Hosts then tell the user, and check
/// storeState() themselves before they call SettingsModel::revertAll() or refresh(). submitAll() followed by
/// QSettings::sync() creates a missing file again.
///
/// The list follows a single edit at once, without a look at other rows, and everything else with the event
/// loop; synchronize() follows at once. Does not own model or store. Does not write to the store.
///
/// **Threads.** Used from the thread of the model.
///
/// **Cost.** A single edit is followed by a look at that entry alone. synchronize(), refresh() and the
/// dismissals compare all entries of model and store.
class HOSTKIT_EXPORT SettingsChanges : public QAbstractTableModel
{
    Q_OBJECT

public:
    using Change = SettingsChange;

    /// The columns: edit or removal, the path, the value in the store, the value wanted.
    enum Column { KindColumn, PathColumn, OldColumn, NewColumn, ColumnCount };

    /// What can be said of the store's file, see storeState().
    using StoreState = StoreContent::State;

    /// What happens to the removal of a group that has grown, see grownGroups().
    enum class Grown {
        Drop, ///< it is dropped
        Keep  ///< it stays pending: the user was told what it removes now
    };

    explicit SettingsChanges(QObject *parent = nullptr);

    /// Observes \a model, or nothing when it is null. Removals made before are not known.
    void setModel(SettingsModel *model);
    /// The same, with a StoreContent of the model's store. \a content must outlive its use here.
    void setModel(SettingsModel *model, StoreContent &content);
    /// The model that is observed; null for none, and after it was deleted.
    SettingsModel *model() const;

    /// Edits in the order of the tree, then edits of entries that are gone, see goneEntries(), then removals
    /// in the order in which they were made.
    const QList<Change> &changes() const { return m_changes; }
    /// Whether nothing waits.
    bool isEmpty() const { return m_changes.isEmpty(); }
    /// Whether there is an edit of the key \a path, which the model has.
    bool isEdited(const QString &path) const { return m_edited.contains(path); }
    /// The number of removals right below the group \a path.
    int removalsIn(const QString &path) const { return m_removalsIn.value(path); }

    /// The value of each key that was last known to be the store's, by path. Pending changes do not change
    /// it. Groups have invalid values.
    const QHash<QString, QVariant> &known() const { return m_diff.known(); }

    /// The state of the store's file now. Does not change what the store holds.
    StoreState storeState() const;

    /// Undoes the change at \a row and no other. Needs `OnManualSubmit` and a model that is not read-only. An
    /// edited key gets the value last known to be the store's, whatever storeState() is. For a removal,
    /// storeState() must be `Readable`. Does not read the file again. Another edit may turn out to be of an
    /// entry that is gone, see goneEntries(), and another removal may be dropped, see grownGroups(). Returns
    /// false, with nothing changed, when refused.
    bool dismiss(int row);
    /// Undoes all changes, as SettingsModel::revertAll() does, but correctly in one call, see refresh().
    /// Needs the same as dismiss(). Returns false, with nothing changed, when refused.
    bool dismissAll();
    /// Merges the store into the model, as SettingsModel::refresh() does, but correctly in one call: entries
    /// that vanished are removed first. Pending changes stay pending, but for removals of groups that have
    /// grown, see grownGroups(). Returns false, with nothing changed, when storeState() is not `Readable`.
    /// For stores in which no name is group and key at once.
    bool refresh(Grown groups = Grown::Drop);
    /// The paths of the groups whose removal the last refresh() or dismiss() dropped, because the store now
    /// has entries below them that are new or have other values. Whether to remove those, too, is for the
    /// user to decide.
    const QStringList &grownGroups() const { return m_grown; }
    /// The paths of the edited entries that the last refresh() or dismiss() found to be gone from the store,
    /// and with it from the model. Their edits stay in the list, see SettingsChange::gone: whether to write
    /// the entries again or to dismiss the edits is for the user to decide.
    const QStringList &goneEntries() const { return m_gone; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

public Q_SLOTS:
    /// Compares everything now.
    void synchronize();

Q_SIGNALS:
    /// Emitted when the list has changed. \a marked are the rows of model() whose isEdited() or removalsIn()
    /// has changed with it. They are valid until the model changes its rows.
    void changed(const QModelIndexList &marked);

private:
    void observe(SettingsModel *model, StoreContent &content);
    bool hasStore() const;
    void noteRemoval(const QModelIndex &parent, int first, int last);
    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight);
    void schedule();
    void takeBase();
    void merge();
    void dropGrown(QList<Change> &pending);
    struct Rows;
    void publish(const QList<Change> &now, const Rows &rows);
    void followEdit(const QModelIndex &cell);
    void apply(const QList<Change> &changes);

    QPointer<SettingsModel> m_model;
    StoreContent m_ownContent; ///< of the model's store, when the host has none
    StoreContent *m_content = &m_ownContent;
    QList<QMetaObject::Connection> m_connections;
    QList<Change> m_changes;
    SettingsDiff m_diff;
    QStringList m_grown;
    QStringList m_gone;
    QList<QList<int>> m_places; ///< where the edits of m_changes are in the model: row numbers, top down
    QSet<QString> m_edited;
    QHash<QString, int> m_removalsIn;
    bool m_scheduled = false;
    bool m_working = false;
};

} // namespace sito

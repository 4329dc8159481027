// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <QAbstractItemModel>
#include <QDataStream>
#include <QDebug>

#include <memory>

class QSettings;
class SettingsModelPrivate;

/// An editable tree over a QSettings store. Groups are branches, keys are leaves. The columns are "Ключ"
/// (name), "Тип" (name of the value's type) and "Значение" (value). The tool tip of every cell is the path of
/// the entry.
///
/// **How to use it**
/// \code
/// QSettings store(fileName, QSettings::IniFormat);   // must outlive its use by the model
/// SettingsModel model;                               // needs a QApplication, for its two icons
/// model.setSettings(&store);                         // reads the store's current group
///
/// sito::SettingsViewProxy proxy;                     // between the model and its views, see below
/// proxy.setSourceModel(&model);
/// QTreeView view;
/// view.setModel(&proxy);
///
/// model.setReadOnly(false);                          // column 2 of keys becomes editable
/// model.setEditStrategy(SettingsModel::OnManualSubmit);
/// ...                                                // the user edits and removes rows
/// model.submitAll();                                 // "Apply": the store's current group becomes the tree
/// model.revertAll();                                 // "Cancel": the tree becomes the store again
/// model.refresh();                                   // the store was changed elsewhere
/// \endcode
/// With `OnFieldChange`, the default, edits and removals reach the store at once, and submitAll() and
/// revertAll() do nothing. After setReadOnly(), repaint the views: they are not notified of the new flags.
///
/// **Surprising, but intended**
/// - clear(), and setSettings() with another store, *append* the store's rows to the existing ones.
/// - refresh() matches entries by name alone, moves nothing, and removes surplus rows from the end of a
///   level, whatever they are. After an entry has vanished from the middle of a group, the last row is
///   removed and the vanished one stays; the next refresh() corrects both.
/// - refresh() overwrites edits that are in the tree only, and reports every key as changed.
/// - submitAll() replaces the store's current group: entries that are in the store but not in the tree are
///   lost. It keeps the recorded removals, so the next submitAll() removes those paths again. A name that is
///   both a group and a key is written as a group, then removed, then written as a key: the content of the
///   group is lost.
/// - Changing the strategy neither writes nor drops pending changes.
/// - setData() with a role other than display and edit succeeds, emits dataChanged(), and changes nothing.
/// - The type column shows the type as last read; an edit does not change it. An edited string list is stored
///   as the single text that the editor shows.
/// - A key that was a group keeps the rows below it, although hasChildren() is false for it.
/// - submitAll() with a current group in the store also removes a key of the group's own name, one level up,
///   because QSettings::remove("") does.
/// - Paths start with the store's current group, while QSettings takes them relative to it. With
///   `OnFieldChange`, use stores without a current group.
///
/// **Which views need SettingsViewProxy**
/// The notifications of refresh() and revertAll() differ from those that Qt's views and proxies rely on.
/// Top-level rows are inserted and removed under a *valid* parent index (row 0, column 0) that is no row of
/// the model. An entry found above its place is announced as the removal of an empty range (the first row
/// follows the last). Therefore:
/// - QTreeView, QListView, QTableView, QColumnView and QComboBox, with or without selection or editor, miss
///   new top-level rows. When top-level rows are removed, they keep indexes of deleted nodes, and crash.
/// - The same holds for QItemSelectionModel, QDataWidgetMapper, QCompleter, every QPersistentModelIndex, and
///   for QSortFilterProxyModel, QIdentityProxyModel and other proxies, whichever view shows them.
/// - Inside groups, the empty removal shifts current item, selection and expansion to other rows.
/// - QAbstractItemModelTester in fatal mode ends the program at any of them; it accepts the proxy.
///
/// A view works without SettingsViewProxy only if it is created after the last refresh() and revertAll(), or
/// if the model is set on it again after each of them. A debug build of Qt asserts in the model itself, at
/// the empty removal and at an insertion behind the end; the proxy does not prevent that.
///
/// **Limits**
/// - A group or key without a name (sections `[]` and `[/x]`, a line `=5`) has a row, but QSettings can
///   neither enter the group nor read or write the key. The group shows no rows and the key no value. Edits,
///   removals and submits of that row leave the store alone: its path is empty or ends with a slash. (In a
///   group whose path holds "%" and a digit it may not; edits and removals then follow the path.) Submitting
///   the level above drops the entry.
/// - A new entry whose place lies behind the end of its level (possible when a name is both a group and a
///   key) is announced at that place and appended.
/// - parent() of the index that stands for the root is invalid.
/// - Without a store, clear(), refresh() and submitAll() do nothing; setSettings(nullptr) keeps the rows.
/// - Only memory limits the depth. QSettings needs time proportional to the length of the path for every step
///   down, and every node holds its path, so a chain of n nested groups takes n² characters.
///
/// The store is not owned and must outlive its use by the model. During refresh() and revertAll(), slots must
/// not edit, remove rows, set another store or call the model's slots, because the store's current group is
/// the one being merged.
///
/// **Threads.** Use model and store from one thread.
///
/// **Cost.** setSettings(), clear() and refresh() read the whole current group; submitAll() writes all of it.
/// Each level is listed by QSettings, which looks at all entries below it. parent() looks for the parent
/// among its siblings.
class SITO_EXPORT SettingsModel : public QAbstractItemModel
{
    Q_OBJECT
    // No notify signal: setReadOnly() emits nothing.
    Q_PROPERTY(bool readOnly READ readOnly WRITE setReadOnly) // clazy:exclude=qproperty-without-notify

public:
    /// When edits and removals reach the store. The numbers are fixed. With any other number, which a stream
    /// may hold, edits and removals stay in the model, and submitAll() and revertAll() do nothing.
    enum EditStrategy : uint {
        OnFieldChange = 0, ///< at once
        OnManualSubmit = 1 ///< on submitAll(); revertAll() drops them
    };
    Q_ENUM(EditStrategy)

    /// An empty, read-only model without a store, with strategy `OnFieldChange`. A QApplication must exist.
    explicit SettingsModel(QObject *parent = nullptr);
    /// Drops pending changes; leaves the store alone.
    ~SettingsModel() override;

    /// The store, or null when none was set.
    QSettings *settings() const;
    /// Sets the store and appends the rows of its current group, under a model reset. Does nothing when
    /// \a settings is the current store. Keeps recorded removals.
    void setSettings(QSettings *settings);

    /// `OnFieldChange` by default.
    EditStrategy editStrategy() const;
    /// Stores \a strategy and does nothing else: pending changes stay pending. Emits nothing.
    void setEditStrategy(EditStrategy strategy);

    /// Whether setData() and removeRows() refuse every change. True by default.
    bool readOnly() const;
    /// Stores \a readOnly. Emits nothing, although flags() of the value cells change.
    void setReadOnly(bool readOnly);

    // The item model.

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    using QObject::parent;
    /// The number of rows below \a parent. The column of \a parent is ignored.
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// Always 3.
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    /// True for groups, even empty ones; false for keys, even those with rows below them.
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// Sets the value of a key and, with `OnFieldChange`, writes it to the store. Returns false and changes
    /// nothing without a store, when flags() denies editing, and when read-only. Otherwise emits
    /// dataChanged() without roles and returns true, even for roles that change nothing.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    /// Removes rows, from the last to the first; with `OnFieldChange` from the store too, else their paths
    /// are recorded for submitAll(). False, with nothing changed, without a store, when read-only, and when
    /// the range is empty or not wholly inside of \a parent.
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

public Q_SLOTS:
    /// Despite its name, appends all rows of the store to the existing ones, under a model reset.
    void clear();
    /// With `OnManualSubmit`, removes every recorded path from the store, then replaces the store's current
    /// group with the tree. Emits nothing and keeps the recorded paths.
    void submitAll();
    /// With `OnManualSubmit`, forgets the recorded removals, then calls refresh().
    void revertAll();
    /// Merges the store's current group into the tree: inserts rows for new entries, reads every value again,
    /// emits dataChanged() for each key, and removes surplus rows from the end of each level.
    void refresh();

private:
    friend class SettingsModelPrivate;
    const std::unique_ptr<SettingsModelPrivate> d;
};

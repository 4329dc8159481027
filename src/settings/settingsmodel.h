// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <QAbstractItemModel>
#include <QDataStream>
#include <QDebug>

#include <memory>

class QSettings;
class SettingsModelPrivate;

/// An editable tree over a QSettings store: groups are branches, keys are leaves; the columns are "Ключ"
/// (name), "Тип" (name of the value's type) and "Значение" (value). The tool tip of every cell is the entry's
/// path.
///
/// **How to use it**
/// \code
/// QSettings store(fileName, QSettings::IniFormat);   // must outlive its use by the model
/// SettingsModel model;                               // needs a QApplication, for its two icons
/// model.setSettings(&store);                         // reads the store's current group
///
/// SettingsViewProxy proxy;                           // between the model and every view, see below
/// proxy.setSourceModel(&model);
/// QTreeView view;
/// view.setModel(&proxy);
///
/// model.setReadOnly(false);                          // column 2 of keys becomes editable
/// model.setEditStrategy(SettingsModel::OnManualSubmit);
/// ...                                                // the user edits and removes rows
/// model.submitAll();                                 // "Apply": the store's current group becomes the tree
/// model.revertAll();                                 // "Cancel": the tree becomes the store again
/// model.refresh();                                   // somebody else changed the store
/// \endcode
/// With `OnFieldChange`, the default, edits and removals reach the store at once, and submitAll() and
/// revertAll() do nothing. After setReadOnly() a view learns of the changed flags only when it asks: repaint
/// it.
///
/// **What surprises, and is meant**
/// - clear(), and setSettings() with another store, *append* the store's rows to those already there.
/// - refresh() matches entries by name alone, moves nothing, and cuts surplus rows from the end of a level,
///   whichever stand there. After an entry vanished from the middle of a group, the last row goes, the
///   vanished one stays, and the next refresh() puts both right.
/// - refresh() overwrites edits that are in the tree only, and reports every key as changed.
/// - submitAll() replaces the store's current group: what is in the store and not in the tree is lost. It
///   forgets none of the recorded removals, so the next submitAll() removes those paths again. A name that is
///   a group and a key at once is written as group, then removed, then written as key: the group's content is
///   lost.
/// - Changing the strategy with pending changes neither writes nor drops them.
/// - setData() with any role but display and edit succeeds, signals a change, and changes nothing.
/// - The type column names the type as last read; an edit does not change it. An edited string list is stored
///   as the single text the editor shows.
/// - A key that was a group keeps the rows below it, though hasChildren() denies them.
/// - submitAll() with a group current in the store also removes a key of the group's own name, one level up:
///   QSettings::remove("") does that.
/// - Paths are built from QSettings::group(): when a group is current in the store, they begin with it, while
///   QSettings takes them relative to it. Hand over stores without a current group when entries get edited or
///   removed with `OnFieldChange`.
///
/// **Which views need SettingsViewProxy**
/// The notifications of refresh() and revertAll() are not those that Qt's views and proxies rely on.
/// Top-level rows come and go under a *valid* parent index (row 0, column 0) that is no row of the
/// model, and an entry found above its place is told by a removal of an empty range (first row behind
/// the last one). Therefore:
/// - QTreeView, QListView, QTableView, QColumnView and QComboBox, with or without selection or editor, miss
///   new top-level rows, and keep indexes of deleted nodes when top-level rows are cut: they crash;
/// - the same holds for QItemSelectionModel, QDataWidgetMapper, QCompleter, for every QPersistentModelIndex,
///   and for QSortFilterProxyModel, QIdentityProxyModel and other proxies, whatever shows them;
/// - inside groups the empty removal shifts current item, selection and expansion to other rows;
/// - QAbstractItemModelTester in fatal mode ends the program at any of them; it accepts the proxy.
///
/// Only a view that is made after the last refresh() and revertAll(), or that is handed the model anew
/// after each, can do without SettingsViewProxy. A debug build of Qt asserts in the model itself, at
/// the empty removal and at an insertion behind the end; there the proxy does not help.
///
/// **Where a store offers what cannot be followed**
/// - A group or key without a name (sections `[]` and `[/x]`, a line `=5`) gets its row, but QSettings can
///   neither enter the group nor read or write the key: the group shows no rows, the key no value, and edit,
///   removal and submit leave the store alone for that row. A submit of the level above drops the entry, as
///   everything it cannot see.
/// - A new entry whose place lies behind the end of its level (a name that is group and key leads there) is
///   announced at that place and appended.
/// - parent() of the index that stands for the root is invalid.
/// - Without a store clear(), refresh() and submitAll() do nothing; setSettings(nullptr) keeps the rows.
/// - Depth is limited by memory alone. QSettings itself needs time proportional to the length of the path for
///   every step down, and every node keeps its path, so a chain of n nested groups costs n² characters.
///
/// The store is not owned and must outlive its use by the model. While refresh() or revertAll() runs, slots
/// must not edit, remove rows, set another store or call the model's slots: the store's current group is then
/// the one that the walk has come to. Model and store are used from one thread.
class SITO_EXPORT SettingsModel : public QAbstractItemModel
{
    Q_OBJECT
    // Without a notify signal: a switch is not told.
    Q_PROPERTY(bool readOnly READ readOnly WRITE setReadOnly) // clazy:exclude=qproperty-without-notify

public:
    /// When edits and removals reach the store; the numbers are fixed. With any other number, which a stream
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

    /// The store as set, or null.
    QSettings *settings() const;
    /// Takes \a settings for the store and appends the rows of its current group, under a model reset.
    /// Nothing happens when it is the store already. Recorded removals stay recorded.
    void setSettings(QSettings *settings);

    /// The strategy; `OnFieldChange` at first.
    EditStrategy editStrategy() const;
    /// Stores \a strategy, and nothing else: pending changes stay pending.
    void setEditStrategy(EditStrategy strategy);

    /// Whether setData() and removeRows() refuse everything; true at first.
    bool readOnly() const;
    /// Stores \a readOnly. Emits nothing, though flags() of the value cells change.
    void setReadOnly(bool readOnly);

    // The item model.

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    using QObject::parent;
    /// The number of rows below \a parent, whatever its column.
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    /// 3.
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    /// True for groups, empty ones too; false for keys, whatever is below them.
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    /// Sets the value of a key and, with `OnFieldChange`, writes it to the store. False, with nothing
    /// changed, without a store, when flags() denies editing, and when read-only. True and a dataChanged()
    /// without roles for every role otherwise, also for those that change nothing.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    /// Removes rows, from the last to the first; with `OnFieldChange` from the store too, else their paths
    /// are recorded for submitAll(). False, with nothing changed, without a store, when read-only, and when
    /// the range is empty or not wholly inside of \a parent.
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

public Q_SLOTS:
    /// Despite its name: appends all rows of the store to those already there, under a model reset.
    void clear();
    /// With `OnManualSubmit`: removes every recorded path from the store, then replaces the store's current
    /// group by the tree. Emits nothing, keeps the record.
    void submitAll();
    /// With `OnManualSubmit`: forgets the recorded removals, then refresh().
    void revertAll();
    /// Merges the store's current group into the tree: inserts rows for new entries, reads every value again
    /// with a dataChanged() per key, cuts surplus rows.
    void refresh();

private:
    friend class SettingsModelPrivate;
    const std::unique_ptr<SettingsModelPrivate> d;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QAbstractProxyModel>

#include <memory>

namespace sito {

class SettingsViewProxyPrivate;

/// Stands between a SettingsModel and its views: the same rows and cells, with notifications that Qt's views,
/// selection models and other proxies can rely on.
///
/// \code
/// SettingsViewProxy proxy;
/// proxy.setSourceModel(&model);
/// view.setModel(&proxy);       // or a QSortFilterProxyModel on top of it
/// \endcode
/// The proxy keeps a copy of the rows and cells, as last announced. At each notification of the source it
/// compares the level concerned and announces exactly what differs. Rows are matched by place and name, so
/// what a view remembers (selection, current row, expansion, an open editor) stays with an entry as long as
/// the source keeps its row: across refresh(), revertAll() and the resets of clear() and setSettings(). While
/// the source is in the middle of a change, the proxy shows the state before, refuses edits, and maps no
/// index.
///
/// Otherwise a cell asks the source for that cell alone: the rows above it are looked up once and kept until
/// the source's next notification, and paths come from the copy.
///
/// The proxy differs from the source in three things that views need. Only column 0 has rows below it. A row
/// with rows below it always has children, even when it is a key. An empty model has no children.
///
/// The source changes some things without a notification: the name of a new group, and a key that becomes a
/// group. The proxy looks for such changes at the next notification from within that group, and, unless that
/// was the change of a single cell, once control is back in the event loop; synchronize() looks at once.
///
/// Does not own the source, and keeps no index of it beyond its next notification.
///
/// **Threads.** Used from the source's thread.
///
/// **Cost.** A copy of all rows and cells of the source. A notification compares the level that it names,
/// synchronize() the whole tree.
class HOSTKIT_EXPORT SettingsViewProxy : public QAbstractProxyModel
{
    Q_OBJECT

public:
    /// Roles beside those of the source, with the names `value` and `path` for views in QML. Proxies on top
    /// pass them on. They belong to the rows shown, also while the source is in the middle of a change and
    /// while one is announced. The numbers are fixed.
    enum Role {
        /// The value of the cell in its own type, as settingsValue() returns it. The source's roles may
        /// return a list as its items joined.
        ValueRole = Qt::UserRole + 0x5600,
        /// The path of the row, as settingsPath() returns it; in every column. When the name of a group
        /// changes, the paths below it follow without an announcement of their own.
        PathRole
    };

    explicit SettingsViewProxy(QObject *parent = nullptr);
    ~SettingsViewProxy() override;

    /// Shows \a sourceModel, usually a SettingsModel, from now on; nothing when it is null. Resets the model.
    void setSourceModel(QAbstractItemModel *sourceModel) override;

    /// Returns the index of \a sourceIndex here. It is invalid when \a sourceIndex is no row of the source,
    /// and while the source is changing its rows.
    QModelIndex mapFromSource(const QModelIndex &sourceIndex) const override;
    /// Returns the source's index of the same cell; invalid while the source is changing its rows.
    QModelIndex mapToSource(const QModelIndex &proxyIndex) const override;

    // The item model.

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    using QObject::parent;
    QModelIndex sibling(int row, int column, const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QModelIndex buddy(const QModelIndex &index) const override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

public Q_SLOTS:
    /// Compares the whole tree with the source's and announces every difference. While the source is changing
    /// its rows, this waits for the end of the change.
    void synchronize();

private:
    friend class SettingsViewProxyPrivate;
    const std::unique_ptr<SettingsViewProxyPrivate> d;
};

} // namespace sito

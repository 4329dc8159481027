// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QAbstractProxyModel>

#include <memory>

namespace sito {

class SettingsViewProxyPrivate;

/// Stands between a SettingsModel and its views: the same rows and cells, told in notifications that Qt's
/// views, selection models and other proxies can rely on.
///
/// \code
/// SettingsViewProxy proxy;
/// proxy.setSourceModel(&model);
/// view.setModel(&proxy);       // or a QSortFilterProxyModel on top of it
/// \endcode
/// The proxy keeps a tree of its own, with the cells last told of, and follows each notification of the
/// source by comparing the level concerned and announcing exactly what is different. Rows are matched by
/// place and name, so what a view remembers (selection, current row, expansion, an open editor) stays with an
/// entry as long as the source keeps its row: across refresh(), revertAll() and the resets of clear() and
/// setSettings(). While the source is in the middle of a change, the proxy shows the state before, refuses
/// edits, and maps no index; `ValueRole` answers with the typed values then too.
///
/// Three things are shown otherwise than by the source, because views insist on them: only column 0 has rows
/// below it, a row with rows below it always has children, also when it is a key, and an empty model has none.
///
/// The source changes some things without a notification: the name of a new group, and what was a key
/// becoming a group. The proxy looks for them with the next notification from within that group, and, for a
/// group that sends none, once control is back in the event loop; synchronize() does it at once.
///
/// Neither owns the source nor keeps an index or a pointer into it beyond a call. Used from the source's
/// thread.
class HOSTKIT_EXPORT SettingsViewProxy : public QAbstractProxyModel
{
    Q_OBJECT

public:
    /// A role beside those of the source, passed on by proxies on top.
    enum Role {
        /// The value of the cell in its own type, as settingsValue() answers it: a list as the list, where the
        /// source's roles may answer with its items joined. Belongs to the rows and cells shown, also while the
        /// source is in the middle of a change and while one is announced. The number is fixed.
        ValueRole = Qt::UserRole + 0x5600
    };

    explicit SettingsViewProxy(QObject *parent = nullptr);
    ~SettingsViewProxy() override;

    /// Shows \a sourceModel, a SettingsModel as a rule, from now on. A model reset. Null shows nothing.
    void setSourceModel(QAbstractItemModel *sourceModel) override;

    /// The index of \a sourceIndex here; invalid for indexes that are no rows of the source, and while the
    /// source is changing its rows.
    QModelIndex mapFromSource(const QModelIndex &sourceIndex) const override;
    /// The source's index of the same cell; invalid while the source is changing its rows.
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
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QModelIndex buddy(const QModelIndex &index) const override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

public Q_SLOTS:
    /// Compares the whole tree with the source's and announces every difference. Does nothing while the
    /// source is changing its rows: it is done afterwards then.
    void synchronize();

private:
    friend class SettingsViewProxyPrivate;
    const std::unique_ptr<SettingsViewProxyPrivate> d;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsvalue.h>

#include <QHash>
#include <QList>
#include <QModelIndex>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

class QAbstractProxyModel;

namespace sito {

/// The rows and cells that a SettingsViewProxy shows: a copy of its source's, as last announced. Only the
/// proxy changes it and announces changes, level by level.
///
/// Functions that take or return an index of the source need a source that is not in the middle of a change.
class SettingsMirror
{
public:
    struct Cell
    {
        QVariant display;
        QVariant value;
        QVariant decoration;
        QVariant toolTip;
        Qt::ItemFlags flags;

        /// Icons do not compare, they follow `branch`. Nobody announces flags.
        friend bool operator==(const Cell &left, const Cell &right)
        {
            return isSameSettingsValue(left.display, right.display) &&
                   isSameSettingsValue(left.value, right.value) && left.toolTip == right.toolTip;
        }
    };

    /// What is known of one row.
    struct Cells
    {
        QList<Cell> cells;
        bool branch = false;

        friend bool operator==(const Cells &, const Cells &) = default;
    };

    struct Node
    {
        Node *parent = nullptr;
        int row = 0;
        QList<Node *> children;
        Cells known;
        /// The names from the top down to this row, joined by "/".
        QString path;

        QString name() const
        {
            return known.cells.isEmpty() ? QString() : known.cells.first().display.toString();
        }
        int rows() const { return static_cast<int>(children.size()); }
    };

    /// A mirror of the source of \a proxy.
    explicit SettingsMirror(const QAbstractProxyModel &proxy) : m_proxy(proxy) {}
    ~SettingsMirror();

    /// The parent of the top rows.
    Node *root() const { return const_cast<Node *>(&m_root); }
    int columns() const { return m_columns; }

    /// Copies everything again.
    void rebuild();

    /// Reads the cells of a row of the source.
    Cells read(int row, const QModelIndex &sourceParent) const;
    /// Sets the cells of \a node. A new name also changes the paths below it.
    static void setCells(Node *node, Cells cells);
    /// Copies a row of the source with all below it, as a node that insert() may put below \a parent.
    Node *copy(Node *parent, int row, const QModelIndex &sourceParent) const;
    void insert(Node *parent, int first, const QList<Node *> &nodes);
    /// Takes rows out of \a parent. The caller owns them, and deletes them by destroy().
    QList<Node *> take(Node *parent, int first, int count);
    static void destroy(QList<Node *> nodes);

    /// Returns for each name of \a names the row of \a parent that shows it, or -1: as many as possible with
    /// rows ascending, none twice.
    static std::vector<int> matchedRows(const Node *parent, const QStringList &names);

    /// Returns the source's index of \a node. Both trees must have the same shape. The source is asked for
    /// the rows above \a node only once until forgetPlaces().
    QModelIndex sourceOf(const Node *node, int column) const;
    /// Drops the source's indexes that sourceOf() keeps. To be called at each notification of the source.
    void forgetPlaces() { m_places.clear(); }
    /// Returns the node of an index of the source, found by rows; the root for an index that is no row of the
    /// source, as the one that stands for the source's root; null when the trees differ in shape on the way.
    Node *nodeOf(QModelIndex sourceIndex) const;

private:
    Q_DISABLE_COPY_MOVE(SettingsMirror)

    /// Adds the rows below \a parent, not what is below them.
    void fill(Node *parent, const QModelIndex &sourceParent) const;
    QModelIndex placeOf(const Node *node) const;

    const QAbstractProxyModel &m_proxy;
    Node m_root;
    int m_columns = 0;
    /// The source's indexes of nodes with rows below them.
    mutable QHash<const Node *, QModelIndex> m_places;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#include <browser/settings/settingstree.h>

#include <browser/settings/markingdelegate.h>
#include <browser/settings/settingssearchmodel.h>

#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <settings/settingsmodel.h>

#include <QHeaderView>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

int countRows(const QModelIndex &index)
{
    int count = 1;
    for (int row = 0; row < index.model()->rowCount(index); ++row)
        count += countRows(index.model()->index(row, 0, index));
    return count;
}

} // namespace

/// The current row, the collapsed groups and the scroll position.
struct SettingsTree::Place
{
    QString current;
    QSet<QString> collapsed;
    int scrolled = 0;
};

SettingsTree::SettingsTree(const SettingsChanges &changes, QWidget *parent)
    : QTreeView(parent),
      m_proxy(new SettingsViewProxy(this)),
      m_search(new SettingsSearchModel(changes, this))
{
    m_search->setSourceModel(m_proxy);
    setModel(m_search);
    auto *delegate = new MarkingDelegate(this);
    connect(delegate, &MarkingDelegate::editorMade, this, [this](QWidget *editor) {
        // A view also closes editors without closeEditor().
        connect(editor, &QObject::destroyed, this, &SettingsTree::editingEnded, Qt::QueuedConnection);
        Q_EMIT stateChanged();
    });
    connect(delegate, &QAbstractItemDelegate::closeEditor, this, &SettingsTree::stateChanged);
    setItemDelegate(delegate);
    // The view forgets the state of rows that it does not show. The model inserts a new group without a name,
    // then sets its name, then inserts its first row.
    connect(m_search, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex &index, int first, int last) {
                for (int row = first; row <= last; ++row)
                    noteExpanded(m_search->index(row, 0, index));
            });
    connect(m_search, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &index, int first, int last) {
                if (index.isValid())
                    expandAgain(index.parent(), index.row(), index.row(), false);
                expandAgain(index, first, last, true);
            });
    connect(m_search, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &topLeft, const QModelIndex &bottomRight) {
                expandAgain(topLeft.parent(), topLeft.row(), bottomRight.row(), false);
            });
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    header()->setSectionsMovable(false);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &SettingsTree::stateChanged);
    connect(m_proxy, &QAbstractItemModel::modelReset, this, &SettingsTree::stateChanged);
}

template <typename Visit>
void SettingsTree::visitRows(const Visit &visit, const QModelIndex &parent) const
{
    for (int row = 0; row < m_search->rowCount(parent); ++row) {
        const QModelIndex index = m_search->index(row, 0, parent);
        visit(index);
        visitRows(visit, index);
    }
}

void SettingsTree::setSource(SettingsModel *model)
{
    const Place before = place();
    m_proxy->setSourceModel(model);
    if (!model)
        return;
    // Without a model there are no columns.
    if (!std::exchange(m_hasWidths, true)) {
        const int unit = fontMetrics().averageCharWidth();
        header()->resizeSection(0, unit * 45);
        header()->resizeSection(1, unit * 20);
    }
    restore(before);
}

void SettingsTree::showFromTheTop()
{
    m_wereExpanded.clear();
    expandAll();
    setCurrentIndex(m_search->index(0, 0));
}

SettingsTree::Place SettingsTree::place() const
{
    Place result;
    result.current = settingsPath(currentIndex());
    result.scrolled = verticalScrollBar()->value();
    visitRows([&](const QModelIndex &index) {
        if (m_search->hasChildren(index) && !isExpanded(index))
            result.collapsed.insert(settingsPath(index));
    });
    return result;
}

void SettingsTree::restore(const Place &place)
{
    expandAll();
    visitRows([&](const QModelIndex &index) {
        const QString path = settingsPath(index);
        if (path == place.current)
            setCurrentIndex(index);
        setExpanded(index, !place.collapsed.contains(path));
    });
    verticalScrollBar()->setValue(place.scrolled);
}

void SettingsTree::noteExpanded(const QModelIndex &index)
{
    if (isExpanded(index))
        m_wereExpanded.insert(settingsPath(index));
    for (int row = 0; row < m_search->rowCount(index); ++row)
        noteExpanded(m_search->index(row, 0, index));
}

void SettingsTree::expandAgain(const QModelIndex &parent, int first, int last, bool withChildren)
{
    for (int row = first; row <= last && !m_wereExpanded.isEmpty(); ++row) {
        const QModelIndex index = m_search->index(row, 0, parent);
        if (m_search->hasChildren(index) && m_wereExpanded.remove(settingsPath(index)))
            expand(index);
        if (withChildren)
            expandAgain(index, 0, m_search->rowCount(index) - 1, true);
    }
}

// Search.

void SettingsTree::search(const QString &text)
{
    m_search->search(text);
    if (!text.isEmpty())
        expandAll();
    if (currentIndex().isValid())
        scrollTo(currentIndex());
}

QString SettingsTree::searchText() const
{
    return m_search->text();
}

QModelIndex SettingsTree::sourceOf(const QString &path) const
{
    const QModelIndexList found =
        m_proxy->match(m_proxy->index(0, 0), Qt::ToolTipRole, path, 1, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? QModelIndex() : found.first();
}

bool SettingsTree::hasEntry(const QString &path) const
{
    return sourceOf(path).isValid();
}

bool SettingsTree::showEntry(const QString &path)
{
    const QModelIndex shown = m_search->mapFromSource(sourceOf(path));
    if (shown.isValid())
        setCurrentIndex(shown);
    return shown.isValid();
}

// Editing.

bool SettingsTree::isEditing() const
{
    return SettingsDelegate::isEditing(this);
}

bool SettingsTree::finishEditing(SettingsDelegate::Refused refused)
{
    if (SettingsDelegate::finishEditing(this, refused))
        return true;
    scrollTo(currentIndex());
    return false;
}

bool SettingsTree::isCurrentEditable() const
{
    return currentIndex()
        .siblingAtColumn(SettingsSearchModel::ValueColumn)
        .flags()
        .testFlag(Qt::ItemIsEditable);
}

void SettingsTree::editCurrent()
{
    if (!isCurrentEditable())
        return;
    setCurrentIndex(currentIndex().siblingAtColumn(SettingsSearchModel::ValueColumn));
    edit(currentIndex());
}

QList<QPersistentModelIndex> SettingsTree::selectedRows() const
{
    QList<QPersistentModelIndex> rows;
    const QModelIndexList selected = selectionModel()->selectedRows();
    for (const QModelIndex &index : selected) {
        bool inside = false;
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
            inside = inside || selected.contains(above);
        if (!inside)
            rows += index;
    }
    return rows;
}

QStringList SettingsTree::selectedPaths() const
{
    QStringList paths;
    visitRows([&](const QModelIndex &index) {
        if (selectionModel()->isRowSelected(index.row(), index.parent()))
            paths += settingsPath(index);
    });
    return paths;
}

int SettingsTree::countEntries(const QModelIndex &row) const
{
    return countRows(m_search->mapToSource(row));
}

bool SettingsTree::remove(const QList<QPersistentModelIndex> &rows)
{
    return std::all_of(rows.begin(), rows.end(), [this](const QPersistentModelIndex &row) {
        return !row.isValid() || m_search->removeRow(row.row(), row.parent());
    });
}

void SettingsTree::remark(const QModelIndexList &rows)
{
    m_search->remark(rows);
}

void SettingsTree::retranslate()
{
    setAccessibleName(tr("Записи"));
    // The models translate headers and marks when they are asked for them.
    if (m_proxy->sourceModel())
        Q_EMIT m_proxy->sourceModel()->headerDataChanged(Qt::Horizontal, 0, SettingsSearchModel::ValueColumn);
    viewport()->update();
}

} // namespace sito

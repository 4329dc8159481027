// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsmirror_p.h>

#include <QAbstractProxyModel>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

void renumber(SettingsMirror::Node *parent, int from)
{
    for (int row = from; row < parent->rows(); ++row)
        parent->children.at(row)->row = row;
}

} // namespace

SettingsMirror::~SettingsMirror()
{
    destroy(m_root.children);
}

void SettingsMirror::rebuild()
{
    forgetPlaces();
    destroy(std::exchange(m_root.children, {}));
    const QAbstractItemModel *source = m_proxy.sourceModel();
    m_columns = source ? source->columnCount() : 0;
    const int rows = source ? source->rowCount() : 0;
    for (int row = 0; row < rows; ++row)
        m_root.children.append(copy(&m_root, row, {}));
}

SettingsMirror::Cells SettingsMirror::read(int row, const QModelIndex &sourceParent) const
{
    const QAbstractItemModel *source = m_proxy.sourceModel();
    Cells result;
    result.branch = source->hasChildren(source->index(row, 0, sourceParent));
    result.cells.reserve(m_columns);
    for (int column = 0; column < m_columns; ++column) {
        const QModelIndex cell = source->index(row, column, sourceParent);
        result.cells.append({cell.data(), settingsValue(cell), cell.data(Qt::DecorationRole),
                             cell.data(Qt::ToolTipRole), source->flags(cell)});
    }
    return result;
}

void SettingsMirror::setCells(Node *node, Cells cells)
{
    const QString before = node->name();
    node->known = std::move(cells);
    if (node->name() == before && !node->path.isNull())
        return;
    QList<Node *> nodes{node};
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        Node *const named = nodes.at(i);
        const bool top = !named->parent->parent;
        named->path = top ? named->name() : named->parent->path + u'/' + named->name();
        nodes += named->children;
    }
}

SettingsMirror::Node *SettingsMirror::copy(Node *parent, int row, const QModelIndex &sourceParent) const
{
    struct Todo
    {
        Node *node;
        QModelIndex source;
    };
    const QAbstractItemModel *source = m_proxy.sourceModel();
    auto *top = new Node{parent, row, {}, {}, {}};
    setCells(top, read(row, sourceParent));
    std::vector<Todo> todo{{top, source->index(row, 0, sourceParent)}};
    while (!todo.empty()) {
        const Todo next = todo.back();
        todo.pop_back();
        fill(next.node, next.source);
        for (Node *child : std::as_const(next.node->children))
            todo.push_back({child, source->index(child->row, 0, next.source)});
    }
    return top;
}

void SettingsMirror::fill(Node *parent, const QModelIndex &sourceParent) const
{
    const int rows = m_proxy.sourceModel()->rowCount(sourceParent);
    parent->children.reserve(rows);
    for (int row = 0; row < rows; ++row) {
        parent->children.append(new Node{parent, row, {}, {}, {}});
        setCells(parent->children.last(), read(row, sourceParent));
    }
}

void SettingsMirror::insert(Node *parent, int first, const QList<Node *> &nodes)
{
    forgetPlaces();
    for (qsizetype i = 0; i < nodes.size(); ++i)
        parent->children.insert(first + i, nodes.at(i));
    renumber(parent, first);
}

QList<SettingsMirror::Node *> SettingsMirror::take(Node *parent, int first, int count)
{
    forgetPlaces();
    QList<Node *> taken = parent->children.mid(first, count);
    parent->children.remove(first, count);
    renumber(parent, first);
    return taken;
}

void SettingsMirror::destroy(QList<Node *> nodes)
{
    // Level by level: the tree may be deeper than the stack.
    for (qsizetype i = 0; i < nodes.size(); ++i)
        nodes += nodes.at(i)->children;
    qDeleteAll(nodes);
}

std::vector<int> SettingsMirror::matchedRows(const Node *parent, const QStringList &names)
{
    QHash<QString, QList<int>> places;
    for (int row = parent->rows() - 1; row >= 0; --row)
        places[parent->children.at(row)->name()].append(row);

    // The longest ascending run of the first free places, by the classic row of smallest ends.
    std::vector<int> place(std::size_t(names.size()), -1);
    std::vector<int> before(std::size_t(names.size()), -1);
    std::vector<int> ends;
    for (int i = 0; i < names.size(); ++i) {
        const auto it = places.find(names.at(i));
        if (it == places.end() || it->isEmpty())
            continue;
        place[std::size_t(i)] = it->takeLast();
        const auto end = std::lower_bound(ends.begin(), ends.end(), i, [&](int left, int right) {
            return place[std::size_t(left)] < place[std::size_t(right)];
        });
        before[std::size_t(i)] = end == ends.begin() ? -1 : *(end - 1);
        if (end == ends.end())
            ends.push_back(i);
        else
            *end = i;
    }
    std::vector<int> result(std::size_t(names.size()), -1);
    for (int i = ends.empty() ? -1 : ends.back(); i >= 0; i = before[std::size_t(i)])
        result[std::size_t(i)] = place[std::size_t(i)];
    return result;
}

QModelIndex SettingsMirror::sourceOf(const Node *node, int column) const
{
    const QAbstractItemModel *source = m_proxy.sourceModel();
    return node->parent && source ? source->index(node->row, column, placeOf(node->parent)) : QModelIndex();
}

QModelIndex SettingsMirror::placeOf(const Node *node) const
{
    std::vector<const Node *> unknown;
    for (; node->parent && !m_places.contains(node); node = node->parent)
        unknown.push_back(node);
    QModelIndex place = m_places.value(node);
    for (auto next = unknown.rbegin(); next != unknown.rend(); ++next) {
        place = m_proxy.sourceModel()->index((*next)->row, 0, place);
        m_places.insert(*next, place);
    }
    return place;
}

SettingsMirror::Node *SettingsMirror::nodeOf(QModelIndex sourceIndex) const
{
    const QAbstractItemModel *source = m_proxy.sourceModel();
    Node *result = root();
    if (!sourceIndex.isValid() ||
        source->index(sourceIndex.row(), sourceIndex.column(), source->parent(sourceIndex)) != sourceIndex)
        return result;
    std::vector<int> path;
    for (; sourceIndex.isValid(); sourceIndex = source->parent(sourceIndex))
        path.push_back(sourceIndex.row());
    for (auto row = path.rbegin(); row != path.rend(); ++row) {
        if (*row >= result->rows())
            return nullptr;
        result = result->children.at(*row);
    }
    return result;
}

} // namespace sito

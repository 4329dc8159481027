// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsviewproxy.h>

#include <hostkit/settings/settingsmirror_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The roles that changed here when \a roles did in the source.
QList<int> withValueRole(QList<int> roles)
{
    if (roles.contains(Qt::DisplayRole) || roles.contains(Qt::EditRole))
        roles.append(SettingsViewProxy::ValueRole);
    return roles;
}

} // namespace

class SettingsViewProxyPrivate
{
public:
    using Node = SettingsMirror::Node;
    using Cells = SettingsMirror::Cells;

    explicit SettingsViewProxyPrivate(SettingsViewProxy *proxy) : q(proxy), mirror(*proxy) {}

    Node *node(const QModelIndex &index) const
    {
        return index.isValid() ? static_cast<Node *>(index.internalPointer()) : mirror.root();
    }

    QModelIndex indexOf(const Node *node, int column = 0) const
    {
        return node->parent ? q->createIndex(node->row, column, node) : QModelIndex();
    }

    /// Reads the cells of \a node again, and announces a difference.
    void update(Node *node, const QModelIndex &sourceParent)
    {
        Cells now = mirror.read(node->row, sourceParent);
        const bool same = now == node->known;
        mirror.setCells(node, std::move(now));
        if (!same)
            Q_EMIT q->dataChanged(indexOf(node), indexOf(node, mirror.columns() - 1), {});
    }

    /// update() for \a node and everything above it.
    void updateUpwards(Node *node, QModelIndex sourceIndex)
    {
        while (node->parent) {
            sourceIndex = q->sourceModel()->parent(sourceIndex);
            update(node, sourceIndex);
            if (startOver)
                return;
            node = node->parent;
        }
    }

    void insert(Node *parent, const QModelIndex &sourceParent, int first, int count)
    {
        QList<Node *> added;
        for (int row = first; row < first + count; ++row)
            added.append(mirror.copy(parent, row, sourceParent));
        q->beginInsertRows(indexOf(parent), first, first + count - 1);
        mirror.insert(parent, first, added);
        q->endInsertRows();
    }

    void remove(Node *parent, int first, int count)
    {
        q->beginRemoveRows(indexOf(parent), first, first + count - 1);
        const QList<Node *> removed = mirror.take(parent, first, count);
        q->endRemoveRows();
        SettingsMirror::destroy(removed);
    }

    /// Gives \a parent the rows that the source has there, keeping those of the same name.
    void synchronizeRows(Node *parent, const QModelIndex &sourceParent)
    {
        const QAbstractItemModel *source = q->sourceModel();
        const int rows = source->rowCount(sourceParent);
        QStringList names;
        bool same = rows == parent->rows();
        for (int row = 0; row < rows; ++row) {
            names += source->index(row, 0, sourceParent).data().toString();
            same = same && names.last() == parent->children.at(row)->name();
        }
        if (same)
            return;
        // Outside of resets rows come and go by notifications alone. A level of the same length was renamed:
        // its rows were announced before they got their names.
        if (rows == parent->rows() && !anyShape)
            return;

        const std::vector<int> kept = SettingsMirror::matchedRows(parent, names);
        std::vector<bool> keep(std::size_t(parent->rows()), false);
        for (int row : kept) {
            if (row >= 0)
                keep[std::size_t(row)] = true;
        }
        for (int last = parent->rows() - 1; last >= 0 && !startOver; --last) {
            if (keep[std::size_t(last)])
                continue;
            int first = last;
            while (first > 0 && !keep[std::size_t(first) - 1])
                --first;
            remove(parent, first, last - first + 1);
            last = first;
        }
        for (int first = 0; first < rows && !startOver; ++first) {
            if (kept[std::size_t(first)] >= 0)
                continue;
            int last = first;
            while (last + 1 < rows && kept[std::size_t(last) + 1] < 0)
                ++last;
            insert(parent, sourceParent, first, last - first + 1);
            first = last;
        }
    }

    /// Compares everything.
    void compareAll()
    {
        struct Todo
        {
            Node *node;
            QModelIndex source;
        };
        std::vector<Todo> todo{{mirror.root(), {}}};
        while (!todo.empty() && !startOver && q->sourceModel()) {
            const Todo next = todo.back();
            todo.pop_back();
            synchronizeRows(next.node, next.source);
            for (int row = 0; !startOver && row < next.node->rows(); ++row) {
                Node *child = next.node->children.at(row);
                const QModelIndex source = q->sourceModel()->index(row, 0, next.source);
                update(child, next.source);
                todo.push_back({child, source});
            }
        }
    }

    /// Runs \a comparison, which announces differences. A slot may then change the source's rows again. In
    /// that case \a comparison must return at once, because its source indexes are stale, and everything is
    /// compared.
    template <typename Comparison>
    void compare(Comparison comparison)
    {
        mirror.forgetPlaces();
        if (comparing) {
            startOver = true;
            return;
        }
        comparing = true;
        comparison();
        while (startOver) {
            startOver = false;
            anyShape = true;
            compareAll();
            anyShape = false;
        }
        comparing = false;
        if (std::exchange(asked, false))
            schedule();
    }

    /// Silent changes may follow a notification: looks for them when the source is done.
    void schedule()
    {
        if (std::exchange(scheduled, true))
            return;
        QMetaObject::invokeMethod(
            q,
            [this] {
                scheduled = false;
                q->synchronize();
            },
            Qt::QueuedConnection);
    }

    /// Whether the trees may differ in shape: the source is in the middle of a change, or its end is being
    /// handled here.
    bool ahead() const { return changing > 0 || comparing; }

    void begin()
    {
        // The end of the outer change comes with an index that the inner one may have made stale.
        overlapping = overlapping || changing > 0;
        ++changing;
        mirror.forgetPlaces();
    }

    void rowsInserted(const QModelIndex &sourceParent, int first, int last)
    {
        const int count = last - first + 1;
        rowsChanged(sourceParent, count, [&](Node *parent, const QModelIndex &place) {
            // A row that is announced behind the end was appended.
            if (count > 0)
                insert(parent, place, std::clamp(first, 0, parent->rows()), count);
            else
                startOver = true;
        });
    }

    void rowsRemoved(const QModelIndex &sourceParent, int first, int last)
    {
        // None for the empty range that announces an entry above its place.
        const int count = std::max(last - first + 1, 0);
        rowsChanged(sourceParent, -count, [&](Node *parent, const QModelIndex &) {
            if (count > 0)
                remove(parent, first, count);
        });
    }

    void reset()
    {
        compare([&] {
            if (mirror.columns() == q->sourceModel()->columnCount()) {
                startOver = true;
                return;
            }
            q->beginResetModel();
            mirror.rebuild();
            q->endResetModel();
        });
        end();
    }

    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight, const QList<int> &roles)
    {
        // A single cell is an edit, which changes nothing else.
        if (topLeft != bottomRight)
            schedule();
        if (ahead() || !topLeft.isValid() || !bottomRight.isValid())
            return;
        compare([&] {
            const QModelIndex sourceParent = q->sourceModel()->parent(topLeft);
            Node *parent = mirror.nodeOf(sourceParent);
            if (!parent || bottomRight.row() >= parent->rows()) {
                startOver = true;
                return;
            }
            updateUpwards(parent, sourceParent);
            if (startOver)
                return;
            int left = topLeft.column();
            int right = bottomRight.column();
            for (int row = topLeft.row(); row <= bottomRight.row(); ++row) {
                Cells now = mirror.read(row, sourceParent);
                const Cells &known = parent->children.at(row)->known;
                for (int column = 0; column < mirror.columns(); ++column) {
                    if (now.branch != known.branch || now.cells.at(column) != known.cells.at(column)) {
                        left = std::min(left, column);
                        right = std::max(right, column);
                    }
                }
                mirror.setCells(parent->children.at(row), std::move(now));
            }
            const bool wider = left < topLeft.column() || right > bottomRight.column();
            Q_EMIT q->dataChanged(indexOf(parent->children.at(topLeft.row()), left),
                                  indexOf(parent->children.at(bottomRight.row()), right),
                                  wider ? QList<int>() : withValueRole(roles));
        });
    }

    void sourceDestroyed()
    {
        q->beginResetModel();
        changing = 0;
        overlapping = false;
        startOver = comparing;
        mirror.rebuild();
        q->endResetModel();
    }

    SettingsViewProxy *q;
    SettingsMirror mirror;
    /// Changes of the source that have begun and not ended.
    int changing = 0;
    /// Whether one of them began before another had ended.
    bool overlapping = false;
    bool comparing = false;
    /// The source's rows changed while differences were announced, or without a notification.
    bool startOver = false;
    /// Levels of the same length may hold other rows.
    bool anyShape = false;
    bool scheduled = false;
    /// Whether synchronize() was called in the middle of a change, and is to run at its end.
    bool asked = false;
    std::vector<QMetaObject::Connection> connections;

private:
    /// The source has \a added rows more below \a sourceParent. Calls \a follow for that unless everything
    /// has to be compared.
    template <typename Follow>
    void rowsChanged(const QModelIndex &sourceParent, int added, Follow follow)
    {
        compare([&] {
            Node *parent = overlapping ? nullptr : mirror.nodeOf(sourceParent);
            const QModelIndex place =
                !parent || parent == mirror.root() ? QModelIndex() : sourceParent.siblingAtColumn(0);
            startOver = !parent || q->sourceModel()->rowCount(place) != parent->rows() + added;
            if (!startOver)
                updateUpwards(parent, place);
            if (!startOver)
                follow(parent, place);
        });
        end();
    }

    void end()
    {
        changing = std::max(changing - 1, 0);
        overlapping = overlapping && changing > 0;
        schedule();
    }
};

SettingsViewProxy::SettingsViewProxy(QObject *parent)
    : QAbstractProxyModel(parent), d(std::make_unique<SettingsViewProxyPrivate>(this))
{
}

SettingsViewProxy::~SettingsViewProxy() = default;

void SettingsViewProxy::setSourceModel(QAbstractItemModel *source)
{
    beginResetModel();
    for (const QMetaObject::Connection &connection : std::exchange(d->connections, {}))
        disconnect(connection);
    // Slots of the signals below may map an index.
    d->mirror.forgetPlaces();
    QAbstractProxyModel::setSourceModel(source);
    d->changing = 0;
    d->overlapping = false;
    d->startOver = d->comparing;
    d->mirror.rebuild();
    if (source) {
        using Model = QAbstractItemModel;
        SettingsViewProxyPrivate *p = d.get();
        const auto begin = [p] { p->begin(); };
        const auto reset = [p] { p->reset(); };
        d->connections = {
            connect(source, &Model::rowsAboutToBeInserted, this, begin),
            connect(source, &Model::rowsInserted, this,
                    [p](const QModelIndex &parent, int first, int last) {
                        p->rowsInserted(parent, first, last);
                    }),
            connect(source, &Model::rowsAboutToBeRemoved, this, begin),
            connect(
                source, &Model::rowsRemoved, this,
                [p](const QModelIndex &parent, int first, int last) { p->rowsRemoved(parent, first, last); }),
            connect(source, &Model::dataChanged, this,
                    [p](const QModelIndex &left, const QModelIndex &right, const QList<int> &roles) {
                        p->dataChanged(left, right, roles);
                    }),
            connect(source, &Model::modelAboutToBeReset, this, begin),
            connect(source, &Model::modelReset, this, reset),
            connect(source, &Model::rowsAboutToBeMoved, this, begin),
            connect(source, &Model::rowsMoved, this, reset),
            connect(source, &Model::layoutAboutToBeChanged, this, begin),
            connect(source, &Model::layoutChanged, this, reset),
            connect(source, &Model::columnsAboutToBeInserted, this, begin),
            connect(source, &Model::columnsInserted, this, reset),
            connect(source, &Model::columnsAboutToBeRemoved, this, begin),
            connect(source, &Model::columnsRemoved, this, reset),
            connect(source, &Model::headerDataChanged, this, &Model::headerDataChanged),
            connect(source, &QObject::destroyed, this, [p] { p->sourceDestroyed(); }),
        };
    }
    endResetModel();
}

QModelIndex SettingsViewProxy::mapFromSource(const QModelIndex &sourceIndex) const
{
    if (!sourceIndex.isValid() || sourceIndex.model() != sourceModel() || d->ahead())
        return {};
    const SettingsMirror::Node *node = d->mirror.nodeOf(sourceIndex);
    return node ? d->indexOf(node, sourceIndex.column()) : QModelIndex();
}

QModelIndex SettingsViewProxy::mapToSource(const QModelIndex &proxyIndex) const
{
    if (!proxyIndex.isValid() || proxyIndex.model() != this || d->ahead() || !sourceModel())
        return {};
    return d->mirror.sourceOf(d->node(proxyIndex), proxyIndex.column());
}

QModelIndex SettingsViewProxy::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= d->mirror.columns() || row >= rowCount(parent))
        return {};
    return createIndex(row, column, d->node(parent)->children.at(row));
}

QModelIndex SettingsViewProxy::parent(const QModelIndex &index) const
{
    return index.isValid() ? d->indexOf(d->node(index)->parent) : QModelIndex();
}

QModelIndex SettingsViewProxy::sibling(int row, int column, const QModelIndex &index) const
{
    return index.isValid() ? this->index(row, column, parent(index)) : QModelIndex();
}

int SettingsViewProxy::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : d->node(parent)->rows();
}

int SettingsViewProxy::columnCount(const QModelIndex & /*parent*/) const
{
    return d->mirror.columns();
}

bool SettingsViewProxy::hasChildren(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return d->mirror.root()->rows() > 0;
    const SettingsMirror::Node *node = d->node(parent);
    return parent.column() == 0 && (node->known.branch || node->rows() > 0);
}

QVariant SettingsViewProxy::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const SettingsMirror::Node *node = d->node(index);
    if (role == PathRole)
        return node->path;
    if (!d->ahead() && sourceModel()) {
        const QModelIndex source = mapToSource(index);
        return role == ValueRole ? settingsValue(source) : sourceModel()->data(source, role);
    }
    const SettingsMirror::Cell &cell = node->known.cells.at(index.column());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return cell.display;
    case ValueRole:
        return cell.value;
    case Qt::DecorationRole:
        return cell.decoration;
    case Qt::ToolTipRole:
        return cell.toolTip;
    default:
        return {};
    }
}

QVariant SettingsViewProxy::headerData(int section, Qt::Orientation orientation, int role) const
{
    return sourceModel() ? sourceModel()->headerData(section, orientation, role) : QVariant();
}

QHash<int, QByteArray> SettingsViewProxy::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractProxyModel::roleNames();
    names.insert({{ValueRole, "value"_ba}, {PathRole, "path"_ba}});
    return names;
}

Qt::ItemFlags SettingsViewProxy::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return d->ahead() || !sourceModel() ? d->node(index)->known.cells.at(index.column()).flags
                                        : sourceModel()->flags(mapToSource(index));
}

QModelIndex SettingsViewProxy::buddy(const QModelIndex &index) const
{
    return index;
}

bool SettingsViewProxy::removeRows(int row, int count, const QModelIndex &parent)
{
    // Only column 0 has rows below it, here, whatever the source says.
    if (!sourceModel() || d->ahead() || parent.column() > 0)
        return false;
    const QModelIndex sourceParent = mapToSource(parent);
    return parent.isValid() == sourceParent.isValid() && sourceModel()->removeRows(row, count, sourceParent);
}

void SettingsViewProxy::synchronize()
{
    if (d->ahead())
        d->asked = true;
    else if (sourceModel())
        d->compare([this] { d->compareAll(); });
}

} // namespace sito

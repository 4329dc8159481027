// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingschanges.h>

#include <hostkit/settings/settingsrows_p.h>
#include <hostkit/settings/settingsvalue.h>
#include <settings/settingsmodel.h>

#include <QScopedValueRollback>
#include <QSet>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int columnOfValues = 2;

/// The row numbers from the top down to \a index.
QList<int> placeOf(QModelIndex index)
{
    QList<int> place;
    for (; index.isValid(); index = index.parent())
        place.prepend(index.row());
    return place;
}

/// Keeps the model from writing to its store while it is changed, whatever its strategy.
class Unwatched
{
public:
    explicit Unwatched(SettingsModel &model)
        : m_model(model), m_strategy(model.editStrategy()), m_readOnly(model.readOnly())
    {
        m_model.setEditStrategy(SettingsModel::OnManualSubmit);
        m_model.setReadOnly(false);
    }
    ~Unwatched()
    {
        m_model.setEditStrategy(m_strategy);
        m_model.setReadOnly(m_readOnly);
    }

private:
    Q_DISABLE_COPY_MOVE(Unwatched)
    SettingsModel &m_model;
    SettingsModel::EditStrategy m_strategy;
    bool m_readOnly;
};

} // namespace

/// The rows of a model, by path.
struct SettingsChanges::Rows
{
    QHash<QString, QModelIndex> keys;
    QHash<QString, QModelIndex> groups;
};

SettingsChanges::SettingsChanges(QObject *parent) : QAbstractTableModel(parent) {}

SettingsModel *SettingsChanges::model() const
{
    return m_model;
}

void SettingsChanges::setModel(SettingsModel *model)
{
    m_ownContent = StoreContent(model ? model->settings() : nullptr);
    observe(model, m_ownContent);
}

void SettingsChanges::setModel(SettingsModel *model, StoreContent &content)
{
    observe(model, content);
}

void SettingsChanges::observe(SettingsModel *model, StoreContent &content)
{
    for (const QMetaObject::Connection &connection : std::exchange(m_connections, {}))
        disconnect(connection);
    m_model = model;
    m_content = &content;
    m_diff.forgetRemovals();
    m_diff.forgetAllGone();
    m_diff.forgetKnown();
    m_grown.clear();
    m_gone.clear();
    if (model) {
        takeBase();
        using Model = QAbstractItemModel;
        m_connections = {
            connect(model, &Model::rowsAboutToBeRemoved, this, &SettingsChanges::noteRemoval),
            connect(model, &Model::rowsRemoved, this, &SettingsChanges::schedule),
            connect(model, &Model::rowsInserted, this, &SettingsChanges::schedule),
            connect(model, &Model::modelReset, this,
                    [this] {
                        if (m_content == &m_ownContent && m_content->store() != m_model->settings())
                            m_ownContent = StoreContent(m_model->settings());
                        takeBase();
                        schedule();
                    }),
            connect(model, &Model::dataChanged, this, &SettingsChanges::dataChanged),
        };
    }
    synchronize();
}

void SettingsChanges::schedule()
{
    if (m_working || std::exchange(m_scheduled, true))
        return;
    QMetaObject::invokeMethod(this, &SettingsChanges::synchronize, Qt::QueuedConnection);
}

void SettingsChanges::noteRemoval(const QModelIndex &parent, int first, int last)
{
    if (m_working)
        return;
    for (int row = first; row <= last; ++row) {
        const QModelIndex index = m_model->index(row, 0, parent);
        m_diff.noteRemoval(settingsPath(index), m_model->hasChildren(index));
    }
}

/// Remembers what the model holds, which was just read from the store.
void SettingsChanges::takeBase()
{
    const SettingsDiff::Values values = settingsRowValues(*m_model);
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        m_diff.know(value.key(), value.value());
}

SettingsChanges::StoreState SettingsChanges::storeState() const
{
    return hasStore() ? m_content->state() : StoreState::Readable;
}

bool SettingsChanges::hasStore() const
{
    return m_model && m_content->store();
}

void SettingsChanges::dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight)
{
    // A merge announces whole rows, with what it read.
    if (!m_working && topLeft.column() == 0 && topLeft.row() == bottomRight.row())
        m_diff.know(settingsPath(topLeft), settingsValue(topLeft.siblingAtColumn(columnOfValues)));
    if (m_working || topLeft != bottomRight || topLeft.column() != columnOfValues || !hasStore() ||
        m_content->hasCurrentGroup() || m_scheduled) {
        schedule();
        return;
    }
    followEdit(topLeft);
}

/// Follows the edit of \a cell. Looks at no other row, so that the cost does not grow with the model.
void SettingsChanges::followEdit(const QModelIndex &cell)
{
    const QModelIndex row = cell.siblingAtColumn(0);
    if (row.data().toString().isEmpty())
        return;
    Change change;
    change.path = settingsPath(cell);
    change.newValue = settingsValue(cell);
    change.oldValue = m_content->value(change.path);
    const QList<int> place = placeOf(cell);
    const auto position = std::lower_bound(m_places.begin(), m_places.end(), place);
    const bool isListed = position != m_places.end() && *position == place;
    // Two rows have this path.
    if (isListed != m_edited.contains(change.path)) {
        synchronize();
        return;
    }
    m_content->noteFile();
    const int at = int(position - m_places.begin());
    const bool isEdit = m_diff.isEdit(change.path, change.newValue, change.oldValue);
    if (isListed && isEdit) {
        m_changes[at] = change;
        Q_EMIT QAbstractTableModel::dataChanged(index(at, 0), index(at, ColumnCount - 1));
        Q_EMIT changed({});
    } else if (isEdit) {
        beginInsertRows({}, at, at);
        m_changes.insert(at, change);
        m_places.insert(at, place);
        m_edited.insert(change.path);
        endInsertRows();
        Q_EMIT changed({row});
    } else if (isListed) {
        beginRemoveRows({}, at, at);
        m_changes.removeAt(at);
        m_places.removeAt(at);
        m_edited.remove(change.path);
        endRemoveRows();
        Q_EMIT changed({row});
    }
}

void SettingsChanges::synchronize()
{
    m_scheduled = false;
    if (m_working)
        return;
    if (!hasStore()) {
        m_diff.forgetRemovals();
        m_diff.forgetAllGone();
        publish({}, {});
        return;
    }
    m_content->noteFile();
    Rows rows;
    QList<SettingsDiff::Entry> entries;
    visitSettingsRows(*m_model, [&](const QModelIndex &index, const QString &path) {
        const bool isGroup = m_model->hasChildren(index);
        if (!isGroup && index.data().toString().isEmpty())
            return;
        entries.append(
            {path, isGroup, isGroup ? QVariant() : settingsValue(index.siblingAtColumn(columnOfValues))});
        QHash<QString, QModelIndex> &known = isGroup ? rows.groups : rows.keys;
        if (!known.contains(path))
            known.insert(path, index);
    });
    publish(
        m_diff.changes(entries, m_content->values(), [this] { return storeState() == StoreState::Readable; }),
        rows);
}

/// Makes \a now the list. The model has \a rows.
void SettingsChanges::publish(const QList<Change> &now, const Rows &rows)
{
    // Even if the list stays the same: rows above the edited ones may have come or gone.
    m_places.clear();
    for (const Change &change : now) {
        if (!change.removal && !change.gone)
            m_places.append(placeOf(rows.keys.value(change.path)));
    }
    const bool same = std::equal(now.begin(), now.end(), m_changes.begin(), m_changes.end(),
                                 [](const Change &one, const Change &other) {
                                     return one.path == other.path && one.removal == other.removal &&
                                            one.group == other.group && one.gone == other.gone &&
                                            isSameSettingsValue(one.oldValue, other.oldValue) &&
                                            isSameSettingsValue(one.newValue, other.newValue);
                                 });
    if (same)
        return;
    beginResetModel();
    m_changes = now;
    const QSet<QString> edited = std::exchange(m_edited, {});
    const QHash<QString, int> removals = std::exchange(m_removalsIn, {});
    for (const Change &change : m_changes) {
        if (change.removal)
            ++m_removalsIn[SettingsDiff::groupOf(change.path)];
        else if (!change.gone)
            m_edited.insert(change.path);
    }
    endResetModel();

    QModelIndexList marked;
    for (auto row = rows.keys.cbegin(); row != rows.keys.cend(); ++row) {
        if (edited.contains(row.key()) != m_edited.contains(row.key()))
            marked += row.value();
    }
    for (auto row = rows.groups.cbegin(); row != rows.groups.cend(); ++row) {
        if (removals.value(row.key()) != m_removalsIn.value(row.key()))
            marked += row.value();
    }
    Q_EMIT changed(marked);
}

/// Takes the removals of groups out of \a pending that would remove what was not known when they were made.
void SettingsChanges::dropGrown(QList<Change> &pending)
{
    m_grown = m_diff.grownGroups(pending, m_content->values());
    pending.removeIf([this](const Change &change) {
        return change.removal && change.group && m_grown.contains(change.path);
    });
}

/// Applies \a changes to the model, by path. Edits whose entries are gone stay changes as such.
void SettingsChanges::apply(const QList<Change> &changes)
{
    QHash<QString, QPersistentModelIndex> keys;
    QHash<QString, QPersistentModelIndex> groups;
    visitSettingsRows(*m_model, [&](const QModelIndex &index, const QString &path) {
        (m_model->hasChildren(index) ? groups : keys).insert(path, index);
    });
    for (const Change &change : changes) {
        const QModelIndex index = (change.group ? groups : keys).value(change.path);
        const bool done =
            index.isValid() &&
            (change.removal ? m_model->removeRow(index.row(), index.parent())
                            : m_model->setData(index.siblingAtColumn(columnOfValues), change.newValue));
        // An entry that should be removed and is gone needs nothing.
        if (done || change.removal)
            continue;
        if (!change.gone)
            m_gone += change.path;
        m_diff.noteGone(change);
    }
}

bool SettingsChanges::dismiss(int row)
{
    if (!m_model || m_model->readOnly() || m_model->editStrategy() != SettingsModel::OnManualSubmit ||
        row < 0 || row >= m_changes.size())
        return false;
    const Change change = m_changes.at(row);
    if (change.removal && storeState() != StoreState::Readable)
        return false;
    // The store may have been read while the file was away.
    if (change.removal && !m_content->paths().contains(change.path, change.group))
        m_content->readAgain();
    // Changes that are not listed yet would be lost.
    synchronize();
    m_grown.clear();
    m_gone.clear();
    if (change.gone) {
        m_diff.forgetGone(change.path);
    } else {
        const QScopedValueRollback working(m_working, true);
        if (change.removal) {
            // The model restores all or nothing, so the other changes are applied again.
            QList<Change> others = m_changes;
            others.removeIf([&](const Change &other) {
                return other.removal && other.path == change.path && other.group == change.group;
            });
            m_diff.forgetRemoval(change.path, change.group);
            dropGrown(others);
            merge();
            apply(others);
        } else {
            Change back = change;
            back.newValue = m_content->value(change.path, known().value(change.path));
            apply({back});
        }
    }
    synchronize();
    return true;
}

/// Makes the model equal to what the store holds in memory.
void SettingsChanges::merge()
{
    const Unwatched unwatched(*m_model);
    const StoreContent::Paths stored = m_content->paths();
    // The model would remove rows at the ends of levels instead of these.
    QList<QPersistentModelIndex> vanished;
    visitSettingsRows(*m_model, [&](const QModelIndex &index, const QString &path) {
        const bool nameless = index.data().toString().isEmpty();
        if (!nameless && !stored.contains(path, m_model->hasChildren(index)))
            vanished.append(index);
    });
    for (const QPersistentModelIndex &index : std::as_const(vanished)) {
        if (index.isValid())
            m_model->removeRow(index.row(), index.parent());
    }
    m_model->revertAll();
    m_diff.forgetKnown();
    takeBase();
}

bool SettingsChanges::dismissAll()
{
    if (!hasStore() || m_model->readOnly() || m_model->editStrategy() != SettingsModel::OnManualSubmit ||
        storeState() != StoreState::Readable)
        return false;
    m_diff.forgetRemovals();
    m_diff.forgetAllGone();
    {
        const QScopedValueRollback working(m_working, true);
        m_content->readAgain();
        merge();
    }
    synchronize();
    return true;
}

bool SettingsChanges::refresh(Grown groups)
{
    m_grown.clear();
    m_gone.clear();
    if (!hasStore())
        return true;
    if (storeState() != StoreState::Readable)
        return false;
    synchronize();
    QList<Change> pending = m_changes;
    {
        const QScopedValueRollback working(m_working, true);
        m_content->readAgain();
        if (groups == Grown::Drop)
            dropGrown(pending);
        merge();
        if (!pending.isEmpty()) {
            const Unwatched unwatched(*m_model);
            apply(pending);
        }
    }
    synchronize();
    return true;
}

int SettingsChanges::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_changes.size());
}

int SettingsChanges::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant SettingsChanges::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Change &change = m_changes.at(index.row());
    if (role == Qt::ToolTipRole && change.gone)
        return tr("«%1»: запись удалена другой программой. «Записать» создаст её снова").arg(change.path);
    if (role == Qt::ToolTipRole)
        return change.path;
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case KindColumn:
        if (change.removal)
            return change.group ? tr("Удаление группы") : tr("Удаление");
        return change.gone ? tr("Правка удалённой записи") : tr("Правка");
    case PathColumn:
        return change.path;
    case OldColumn:
        return settingsValueText(change.oldValue);
    case NewColumn:
        return settingsValueText(change.newValue);
    default:
        return {};
    }
}

QVariant SettingsChanges::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole) {
        switch (section) {
        case KindColumn:
            return tr("Что");
        case PathColumn:
            return tr("Путь");
        case OldColumn:
            return tr("Было");
        case NewColumn:
            return tr("Станет");
        default:
            break;
        }
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

} // namespace sito

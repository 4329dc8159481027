// SPDX-License-Identifier: MIT
#include <sources/sourceconnection.h>

#include <sources/bytesreader.h>
#include <sources/sourcesession_p.h>
#include <sources/tableshape_p.h>

#include <hostkit/parallel/tablelock.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>

#include <QDateTime>
#include <QHash>
#include <QScopeGuard>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace sito {

static constexpr std::chrono::milliseconds idleTime(300);

/// Lives in the thread of its connection. Sessions put their reports into a queue under a mutex; wake() only
/// tells that there is something in it.
class SourceConnection::Private : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Private)
public:
    explicit Private(SourceConnection *connection) : q(connection)
    {
        connect(this, &Private::wake, this, &Private::deliver, Qt::QueuedConnection);
        idle.setSingleShot(true);
        idle.setInterval(idleTime);
        connect(&idle, &QTimer::timeout, this, [this] {
            if (current)
                current->setCounting(true);
        });
    }

    /// A table that was loaded.
    struct Entry
    {
        QString name;
        quint64 source;
        TableNotes notes;
        QDateTime asOf;
        bool isComplete;
    };

    const Entry *entry(const QString &table) const;
    bool isLoadedWhole(const QString &table);
    void endOperation();
    void beginOperation();
    void tellRows(const QString &table);
    void setRowCount(const QString &table, qint64 counted);

    std::unique_ptr<SourceSession> makeSession(const SourceLocation &location);
    void report(SourceReport &&report);
    void deliver();
    void handle(SourceReport &report);
    void add(std::vector<LoadedTable> &&loaded);
    void retire(std::unique_ptr<SourceSession> session);
    void forgetDropped();

    SourceConnection *const q;
    /// What is under way: a number of its own, or 0.
    quint64 operation = 0;
    quint64 lastOperation = 0;
    /// Runs from the end of an operation until rows may be counted: what comes next often comes at once.
    QTimer idle;
    /// Counts that came while an operation was under way.
    std::vector<SourceReport> heldCounts;
    QStringList wantedTables;
    /// See setGrowingColumn().
    QHash<QString, QString> growing;
    /// The last one that was a refresh.
    quint64 refreshOperation = 0;
    bool isStrict = false;
    QList<TableInfo> tables;
    QList<Entry> entries;

    std::mutex mutex;
    /// Guarded by the mutex.
    std::deque<SourceReport> reports;
    bool isWoken = false;

    std::unique_ptr<SourceSession> current;
    /// The operation that opened it.
    quint64 currentId = 0;
    std::unique_ptr<SourceSession> pending;
    /// Those that are about to end.
    std::vector<std::unique_ptr<SourceSession>> retired;

Q_SIGNALS:
    void wake();
};

std::unique_ptr<SourceSession> SourceConnection::Private::makeSession(const SourceLocation &location)
{
    return std::make_unique<SourceSession>(
        location, isStrict, operation, [this](SourceReport &&next) { report(std::move(next)); },
        [this] { std::erase_if(retired, [](const auto &session) { return session->hasEnded(); }); });
}

/// In any thread.
void SourceConnection::Private::report(SourceReport &&report)
{
    {
        const std::lock_guard lock(mutex);
        // Of the progress only the last counts.
        if (report.kind == SourceReport::Progress && !reports.empty() &&
            reports.back().kind == SourceReport::Progress && reports.back().text == report.text) {
            reports.back() = std::move(report);
        } else {
            reports.push_back(std::move(report));
        }
        if (std::exchange(isWoken, true))
            return;
    }
    Q_EMIT wake();
}

/// Handles one report at a time: whoever is told of it may run an event loop of their own, or delete the
/// connection.
void SourceConnection::Private::deliver()
{
    std::optional<SourceReport> next;
    {
        const std::lock_guard lock(mutex);
        isWoken = false;
        if (reports.empty())
            return;
        next = std::move(reports.front());
        reports.pop_front();
        isWoken = !reports.empty();
        if (isWoken)
            Q_EMIT wake();
    }
    if (next->kind == SourceReport::Counted) {
        if (operation == 0) {
            handle(*next);
            return;
        }
        // Operations that follow each other at once would hold more and more of them.
        std::erase_if(heldCounts, [&next](const SourceReport &held) {
            return held.text == next->text && held.operation == next->operation &&
                   held.rowsTotal == next->rowsTotal;
        });
        heldCounts.push_back(std::move(*next));
        return;
    }
    // Of an operation that was cancelled, only that counts.
    if (next->operation == operation || next->kind == SourceReport::Cancelled) {
        handle(*next);
        return;
    }
    for (LoadedTable &unwanted : next->loaded)
        parallel::deleteAside(std::move(unwanted.table));
}

/// Emits at most one signal, last.
void SourceConnection::Private::handle(SourceReport &report)
{
    switch (report.kind) {
    case SourceReport::Progress:
        Q_EMIT q->progress(report.text, report.rowsRead, report.rowsTotal);
        return;
    case SourceReport::Counted:
        if (report.operation == currentId)
            setRowCount(report.text, report.rowsTotal);
        return;
    case SourceReport::Opened:
        retire(std::exchange(current, std::exchange(pending, nullptr)));
        currentId = report.operation;
        endOperation();
        tables = report.tables;
        growing.clear();
        Q_EMIT q->opened(report.tables);
        return;
    case SourceReport::Loaded: {
        endOperation();
        const QStringList wanted = std::exchange(wantedTables, {});
        QString error;
        try {
            add(std::move(report.loaded));
        } catch (const Exception &exception) {
            error = exception.message();
        }
        for (const QString &table : wanted)
            tellRows(table);
        if (error.isNull())
            Q_EMIT q->loaded(wanted);
        else
            Q_EMIT q->failed(error);
        return;
    }
    case SourceReport::Refreshed:
        endOperation();
        for (Entry &entry : entries) {
            for (qsizetype i = 0; i < report.refreshed.size(); ++i) {
                const RefreshedTable &table = report.refreshed.at(i);
                if (entry.name != table.name || table.isReshaped)
                    continue;
                entry.asOf = table.asOf;
                entry.notes = report.refreshedNotes.at(i);
                entry.isComplete = true;
            }
        }
        for (const RefreshedTable &table : std::as_const(report.refreshed))
            tellRows(table.name);
        Q_EMIT q->refreshed(report.refreshed);
        return;
    case SourceReport::BytesFetched:
        endOperation();
        Q_EMIT q->bytesFetched(report.text, report.column, report.bytes);
        return;
    case SourceReport::Failed:
        endOperation();
        retire(std::exchange(pending, nullptr));
        Q_EMIT q->failed(report.text);
        return;
    case SourceReport::Cancelled:
        Q_EMIT q->cancelled();
        return;
    }
}

void SourceConnection::Private::endOperation()
{
    operation = 0;
    idle.start();
    if (heldCounts.empty())
        return;
    const std::lock_guard lock(mutex);
    // They are older than all that waits.
    reports.insert(reports.begin(), std::make_move_iterator(heldCounts.begin()),
                   std::make_move_iterator(heldCounts.end()));
    heldCounts.clear();
    if (!std::exchange(isWoken, true))
        Q_EMIT wake();
}

/// Cancels the one before, and counts, which would delay it.
void SourceConnection::Private::beginOperation()
{
    q->cancel();
    operation = ++lastOperation;
    idle.stop();
    if (current)
        current->setCounting(false);
}

/// Whether all rows of \a table of the source that is open are in the database.
bool SourceConnection::Private::isLoadedWhole(const QString &table)
{
    forgetDropped();
    const Entry *loaded = entry(table);
    return loaded && loaded->source == currentId && loaded->isComplete;
}

/// Has it told, after the answer to the operation, how many rows \a table has if it was loaded as a whole.
void SourceConnection::Private::tellRows(const QString &table)
{
    if (!isLoadedWhole(table))
        return;
    current->leaveUncounted(table);
    report({.kind = SourceReport::Counted, .operation = currentId, .text = table, .rowsTotal = -1});
}

/// What is loaded is known better than \a counted, which may be older. Emits at most one signal, last.
void SourceConnection::Private::setRowCount(const QString &table, qint64 counted)
{
    const auto info = std::find_if(tables.begin(), tables.end(),
                                   [&table](const TableInfo &known) { return known.name == table; });
    if (isLoadedWhole(table))
        counted = MemoryDatabase::instance().table(table)->rowCount();
    if (info == tables.end() || counted < 0 || (info->rowCount == counted && !info->isEstimate))
        return;
    info->rowCount = counted;
    info->isEstimate = false;
    Q_EMIT q->counted(table, counted);
}

/// Adds all or, throwing, none.
void SourceConnection::Private::add(std::vector<LoadedTable> &&loaded)
{
    QList<Entry> added;
    auto takeBack = qScopeGuard([&added] {
        for (const Entry &entry : std::as_const(added))
            MemoryDatabase::instance().dropTable(entry.name);
    });
    for (LoadedTable &next : loaded) {
        const QString name = next.table->name();
        MemoryDatabase::instance().addTable(std::move(next.table));
        added.append({name, currentId, next.notes, next.asOf, next.isComplete});
    }
    takeBack.dismiss();
    entries += added;
}

void SourceConnection::Private::retire(std::unique_ptr<SourceSession> session)
{
    if (!session || session->hasEnded())
        return;
    session->stop();
    retired.push_back(std::move(session));
}

/// Whoever else works on the catalogue may have dropped tables.
void SourceConnection::Private::forgetDropped()
{
    const QStringList names = MemoryDatabase::instance().tableNames();
    entries.removeIf([&names](const Entry &entry) { return !names.contains(entry.name); });
}

SourceConnection::SourceConnection(QObject *parent) : QObject(parent), d(std::make_unique<Private>(this)) {}

SourceConnection::~SourceConnection()
{
    // All are asked to stop before the first is waited for.
    d->retire(std::move(d->pending));
    d->retire(std::move(d->current));
    d->retired.clear();
}

void SourceConnection::setStrict(bool strict)
{
    d->isStrict = strict;
}

void SourceConnection::open(const SourceLocation &location)
{
    d->beginOperation();
    d->pending = d->makeSession(location);
}

void SourceConnection::load(const QStringList &tables, Extent extent)
{
    d->beginOperation();
    d->forgetDropped();
    d->wantedTables = tables;
    const QStringList present = MemoryDatabase::instance().tableNames();
    QStringList missing;
    QString error;
    if (!d->current)
        error = tr("База данных не открыта");
    for (const QString &table : tables) {
        const bool isOurs =
            std::any_of(d->entries.cbegin(), d->entries.cend(), [this, &table](const Private::Entry &entry) {
                return entry.name == table && entry.source == d->currentId;
            });
        if (isOurs || missing.contains(table))
            continue;
        if (present.contains(table) && error.isEmpty())
            error = tr("Таблица «%1» уже загружена из другого источника").arg(table);
        missing.append(table);
    }
    if (!error.isEmpty())
        d->report({.kind = SourceReport::Failed, .operation = d->operation, .text = error});
    else if (missing.isEmpty())
        d->report({.kind = SourceReport::Loaded, .operation = d->operation});
    else
        d->current->load(d->operation, missing, extent);
}

void SourceConnection::refresh(const QStringList &tables, bool ifChanged)
{
    d->beginOperation();
    d->forgetDropped();
    SourceRefresh::Order order{.ifChanged = ifChanged, .growing = d->growing};
    QString error;
    if (!d->current)
        error = tr("База данных не открыта");
    for (const QString &table : tables) {
        const Private::Entry *entry = d->entry(table);
        if (error.isEmpty() && (!entry || entry->source != d->currentId))
            error = tr("Таблица «%1» не загружена из этого источника").arg(table);
        else if (error.isEmpty())
            order.tables.push_back(MemoryDatabase::instance().table(table));
    }
    d->refreshOperation = d->operation;
    if (error.isEmpty())
        d->current->refresh(d->operation, order);
    else
        d->report({.kind = SourceReport::Failed, .operation = d->operation, .text = error});
}

void SourceConnection::setGrowingColumn(const QString &table, const QString &column)
{
    if (column.isEmpty())
        d->growing.remove(table);
    else
        d->growing.insert(table, column);
}

QString SourceConnection::growingColumn(const QString &table) const
{
    return d->growing.value(table);
}

bool SourceConnection::canGrow(const ColumnSpec &column)
{
    switch (column.type) {
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Decimal:
    case FieldType::XDecimal:
    case FieldType::DateTime:
        return true;
    default:
        return false;
    }
}

void SourceConnection::fetchBytes(const Record &row, int column, qint64 limit)
{
    d->beginOperation();
    d->forgetDropped();
    const QString name = row.isNull() ? QString() : row.table()->name();
    const Private::Entry *entry = d->entry(name);
    QString error;
    if (!d->current)
        error = tr("База данных не открыта");
    else if (!entry || entry->source != d->currentId || row.table() != MemoryDatabase::instance().table(name))
        error = tr("Таблица «%1» не загружена из этого источника").arg(name);
    if (!error.isEmpty()) {
        d->report({.kind = SourceReport::Failed, .operation = d->operation, .text = error});
        return;
    }
    const MemoryTable &table = *MemoryDatabase::instance().table(name);
    SourceCell cell;
    {
        const std::lock_guard lock(table);
        cell = SourceCell::of(table, row, column, limit);
    }
    d->current->fetchBytes(d->operation, cell);
}

std::unique_ptr<BytesReader> SourceConnection::bytesReader(const QString &table) const
{
    d->forgetDropped();
    const Private::Entry *entry = d->entry(table);
    if (!d->current || !entry || entry->source != d->currentId || !entry->notes.shape)
        return nullptr;
    return std::unique_ptr<BytesReader>(new BytesReader(
        d->current->location(), *MemoryDatabase::instance().table(table), entry->notes.shape));
}

void SourceConnection::cancel()
{
    if (d->operation == 0)
        return;
    const quint64 operation = d->operation;
    if (d->pending)
        d->retire(std::move(d->pending));
    else if (d->current)
        d->current->cancelLoad();
    // Through the queue, so that the answers come in the order of the operations.
    d->report({.kind = SourceReport::Cancelled, .operation = operation});
    d->endOperation();
}

void SourceConnection::closeTables()
{
    if (isBusy() && d->operation == d->refreshOperation)
        cancel();
    d->forgetDropped();
    const auto entries = std::exchange(d->entries, {});
    for (const Private::Entry &entry : entries)
        parallel::deleteAside(MemoryDatabase::instance().takeTable(entry.name));
}

bool SourceConnection::isBusy() const
{
    return d->operation != 0;
}

bool SourceConnection::isOpen() const
{
    return d->current != nullptr;
}

SourceLocation SourceConnection::location() const
{
    return d->current ? d->current->location() : SourceLocation();
}

QList<SourceConnection::TableInfo> SourceConnection::tables() const
{
    return d->tables;
}

QStringList SourceConnection::loadedTables() const
{
    d->forgetDropped();
    QStringList names;
    for (const Private::Entry &entry : std::as_const(d->entries))
        names.append(entry.name);
    return names;
}

const SourceConnection::Private::Entry *SourceConnection::Private::entry(const QString &table) const
{
    const auto found = std::find_if(entries.cbegin(), entries.cend(),
                                    [&table](const Entry &known) { return known.name == table; });
    return found == entries.cend() ? nullptr : &*found;
}

QStringList SourceConnection::columnNotes(const QString &table) const
{
    const Private::Entry *entry = d->entry(table);
    return entry ? entry->notes.lines : QStringList();
}

QList<int> SourceConnection::bytesColumns(const QString &table) const
{
    const Private::Entry *entry = d->entry(table);
    return entry && entry->notes.shape ? entry->notes.shape->bytesColumns() : QList<int>();
}

bool SourceConnection::isComplete(const QString &table) const
{
    const Private::Entry *entry = d->entry(table);
    return entry && entry->isComplete;
}

QDateTime SourceConnection::asOf(const QString &table) const
{
    const Private::Entry *entry = d->entry(table);
    return entry ? entry->asOf : QDateTime();
}

} // namespace sito

#include "sourceconnection.moc"

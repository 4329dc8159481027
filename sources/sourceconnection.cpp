// SPDX-License-Identifier: MIT
#include <sources/sourceconnection.h>

#include <sources/sourcesession_p.h>

#include <hostkit/parallel/tablelock.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>

#include <QDateTime>
#include <QScopeGuard>

#include <algorithm>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace sito {

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
    }

    /// A table that was loaded.
    struct Entry
    {
        QString name;
        quint64 source;
        QStringList notes;
        QDateTime asOf;
    };

    const Entry *entry(const QString &table) const;

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
    QStringList wantedTables;
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
    // Of an operation that was cancelled, only that counts.
    if (next->operation == operation || next->kind == SourceReport::Cancelled)
        handle(*next);
}

/// Emits at most one signal, last.
void SourceConnection::Private::handle(SourceReport &report)
{
    switch (report.kind) {
    case SourceReport::Progress:
        Q_EMIT q->progress(report.text, report.rowsRead, report.rowsTotal);
        return;
    case SourceReport::Opened:
        operation = 0;
        retire(std::exchange(current, std::exchange(pending, nullptr)));
        currentId = report.operation;
        tables = report.tables;
        Q_EMIT q->opened(report.tables);
        return;
    case SourceReport::Loaded: {
        operation = 0;
        const QStringList wanted = std::exchange(wantedTables, {});
        QString error;
        try {
            add(std::move(report.loaded));
        } catch (const Exception &exception) {
            error = exception.message();
        }
        if (error.isNull())
            Q_EMIT q->loaded(wanted);
        else
            Q_EMIT q->failed(error);
        return;
    }
    case SourceReport::Refreshed:
        operation = 0;
        for (Entry &entry : entries) {
            for (const RefreshedTable &table : std::as_const(report.refreshed)) {
                if (entry.name == table.name && !table.isReshaped)
                    entry.asOf = table.asOf;
            }
        }
        Q_EMIT q->refreshed(report.refreshed);
        return;
    case SourceReport::Failed:
        operation = 0;
        retire(std::exchange(pending, nullptr));
        Q_EMIT q->failed(report.text);
        return;
    case SourceReport::Cancelled:
        Q_EMIT q->cancelled();
        return;
    }
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
        added.append({name, currentId, next.notes, next.asOf});
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
    cancel();
    d->operation = ++d->lastOperation;
    d->pending = d->makeSession(location);
}

void SourceConnection::load(const QStringList &tables)
{
    cancel();
    d->operation = ++d->lastOperation;
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
        d->current->load(d->operation, missing);
}

void SourceConnection::refresh(const QStringList &tables, bool ifChanged)
{
    cancel();
    d->operation = ++d->lastOperation;
    d->forgetDropped();
    SourceRefresh::Order order{.ifChanged = ifChanged};
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

void SourceConnection::cancel()
{
    if (d->operation == 0)
        return;
    const quint64 operation = std::exchange(d->operation, 0);
    if (d->pending)
        d->retire(std::move(d->pending));
    else if (d->current)
        d->current->cancelLoad();
    // Through the queue, so that the answers come in the order of the operations.
    d->report({.kind = SourceReport::Cancelled, .operation = operation});
}

void SourceConnection::closeTables()
{
    if (isBusy() && d->operation == d->refreshOperation)
        cancel();
    d->forgetDropped();
    const auto entries = std::exchange(d->entries, {});
    for (const Private::Entry &entry : entries) {
        parallel::waitForWaiters(*MemoryDatabase::instance().table(entry.name));
        MemoryDatabase::instance().dropTable(entry.name);
    }
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
    return entry ? entry->notes : QStringList();
}

QDateTime SourceConnection::asOf(const QString &table) const
{
    const Private::Entry *entry = d->entry(table);
    return entry ? entry->asOf : QDateTime();
}

} // namespace sito

#include "sourceconnection.moc"

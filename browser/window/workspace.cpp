// SPDX-License-Identifier: MIT
#include <browser/window/workspace.h>

#include <hostkit/parallel/tablelock.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString sessionsTable = u"sessions"_s;

} // namespace

/// Tables that are out of the catalogue; deleted with it.
struct Workspace::HeldTables
{
    ~HeldTables()
    {
        // Threads whose work was stopped may still wait for the lock of one.
        for (const auto &table : tables)
            parallel::waitForWaiters(*table);
    }

    std::vector<std::unique_ptr<MemoryTable>> tables;
};

Workspace::Workspace(QObject *parent)
    : QObject(parent), m_connection(new SourceConnection(this)), m_tables(std::make_shared<HeldTables>())
{
    connect(m_connection, &SourceConnection::opened, this, &Workspace::onOpened);
    connect(m_connection, &SourceConnection::loaded, this, &Workspace::onLoaded);
    connect(m_connection, &SourceConnection::refreshed, this, &Workspace::onRefreshed);
    connect(m_connection, &SourceConnection::failed, this, &Workspace::onFailed);
    connect(m_connection, &SourceConnection::cancelled, this, &Workspace::onCancelled);
    connect(m_connection, &SourceConnection::progress, this,
            [this](const QString &, qint64 rowsRead, qint64 rowsTotal) {
                const qint64 done = rowsTotal > 0 ? std::min<qint64>(1000, rowsRead * 1000 / rowsTotal) : -1;
                Q_EMIT progress(int(done));
            });
}

Workspace::~Workspace()
{
    m_connection->disconnect(this);
    m_connection->cancel();
    closeTables();
}

// ---------------------------------------------------------------------------------------------------------
// Operations.

void Workspace::open(const SourceLocation &location, const ShowRequest &request)
{
    Operation operation{Operation::Open, tr("Открывается %1").arg(location.displayName()), request};
    operation.location = location;
    begin(std::move(operation), [this, &location] { m_connection->open(location); });
}

void Workspace::openSample(const ShowRequest &request)
{
    Operation operation{Operation::Open, tr("Открывается пример"), request};
    operation.sample = std::make_unique<SampleDatabase>();
    operation.location = SourceLocation::fromFile(operation.sample->fileName());
    const SourceLocation location = operation.location;
    begin(std::move(operation), [this, &location] { m_connection->open(location); });
}

void Workspace::load(const QString &name, const ShowRequest &request, bool withSessions)
{
    const QList<SourceConnection::TableInfo> all = tables();
    const auto info = std::find_if(
        all.begin(), all.end(), [&name](const SourceConnection::TableInfo &one) { return one.name == name; });
    if (info == all.end()) {
        Q_EMIT failed(tr("Таблицы «%1» нет").arg(name));
        return;
    }
    if (!info->error.isEmpty()) {
        Q_EMIT failed(info->error);
        Q_EMIT changed();
        return;
    }
    // To begin another operation would cancel the opening.
    if (isOpeningSource()) {
        Q_EMIT refused(tr("Сначала должна открыться база данных"));
        Q_EMIT changed();
        return;
    }
    // A double click asks twice.
    if (comingTable() == name && !request.hasFilters())
        return;
    QStringList wanted{name};
    if (withSessions && name != sessionsTable && hasSessions())
        wanted.append(sessionsTable);
    loadTables(wanted, request, QString());
}

void Workspace::loadTables(const QStringList &wanted, const ShowRequest &request, const QString &earlierError)
{
    Operation operation{Operation::Show, tr("Загружается таблица %1").arg(wanted.first()), request};
    operation.table = wanted.first();
    operation.wanted = wanted;
    operation.earlierError = earlierError;
    begin(std::move(operation), [this, &wanted] { m_connection->load(wanted); });
}

void Workspace::refresh(const QString &name, bool byItself)
{
    QStringList wanted{name};
    if (name != sessionsTable && areSessionsLoaded())
        wanted.append(sessionsTable);
    const QString activity = byItself ? QString() : tr("Обновляется таблица %1").arg(name);
    begin({Operation::Refresh, activity, {}},
          [this, &wanted, byItself] { m_connection->refresh(wanted, byItself); });
}

void Workspace::begin(Operation operation, const std::function<void()> &start)
{
    const bool isTold = !operation.activity.isEmpty();
    m_operations.push_back(std::move(operation));
    if (isTold)
        Q_EMIT progress(-1);
    start();
    if (isTold)
        Q_EMIT changed();
}

Workspace::Operation Workspace::takeOperation()
{
    Operation operation = std::move(m_operations.front());
    m_operations.erase(m_operations.begin());
    return operation;
}

void Workspace::cancelLast()
{
    m_operations.back().table.clear();
    m_connection->cancel();
}

void Workspace::cancelLoad()
{
    if (isBusy() && m_operations.back().kind == Operation::Show)
        cancelLast();
}

void Workspace::interrupt()
{
    if (!m_connection->isBusy())
        return;
    // Else the table would be loaded again at once.
    if (m_operations.back().kind == Operation::Sessions)
        m_waiting.clear();
    cancelLast();
}

void Workspace::onOpened()
{
    Operation operation = takeOperation();
    m_waiting.clear();
    Q_EMIT aboutToClose();
    closeTables();
    m_sample = std::move(operation.sample);
    Q_EMIT opened(operation.request);
    Q_EMIT changed();
}

void Workspace::onLoaded()
{
    const Operation operation = takeOperation();
    if (!operation.earlierError.isEmpty())
        Q_EMIT failed(operation.earlierError);
    if (operation.kind == Operation::Show)
        Q_EMIT tableLoaded(operation.table, operation.request);
    serveWaiting();
    Q_EMIT changed();
}

void Workspace::onRefreshed(const QList<SourceConnection::RefreshedTable> &tables)
{
    const Operation operation = takeOperation();
    Q_EMIT refreshed(tables);
    serveWaiting();
    if (!operation.activity.isEmpty())
        Q_EMIT changed();
}

void Workspace::onFailed(const QString &message)
{
    const Operation operation = takeOperation();
    // Whatever is wrong with the others, the table itself may be fine; if not, the second failure tells so.
    // (To begin another load would cancel what is under way.)
    if (operation.wanted.size() > 1 && m_operations.empty()) {
        loadTables(operation.wanted.first(1), operation.request, message);
        return;
    }
    if (operation.kind == Operation::Open)
        Q_EMIT openFailed(operation.location, message);
    if (operation.kind == Operation::Show && operation.wanted.size() == 1)
        Q_EMIT tableFailed(operation.wanted.constFirst(), message);
    if (operation.kind == Operation::Refresh)
        Q_EMIT refreshFailed(message, operation.activity.isEmpty());
    else if (operation.kind != Operation::Open)
        Q_EMIT failed(message);
    if (operation.kind == Operation::Sessions) {
        m_waiting.removeIf([](const Waiting &one) { return one.otherwise == WithoutSessions::GiveUp; });
        finishWaiting();
    }
    serveWaiting();
    if (!operation.activity.isEmpty())
        Q_EMIT changed();
}

void Workspace::onCancelled()
{
    takeOperation();
    if (!m_operations.empty()) // superseded
        return;
    Q_EMIT interrupted();
    serveWaiting();
    Q_EMIT changed();
}

bool Workspace::isOpeningSource() const
{
    return std::any_of(m_operations.begin(), m_operations.end(),
                       [](const Operation &operation) { return operation.kind == Operation::Open; });
}

QString Workspace::activity() const
{
    return isBusy() ? m_operations.back().activity : QString();
}

QString Workspace::comingTable() const
{
    return isBusy() ? m_operations.back().table : QString();
}

// ---------------------------------------------------------------------------------------------------------
// The source.

bool Workspace::isOpen() const
{
    return m_connection->isOpen();
}

SourceLocation Workspace::location() const
{
    return m_connection->location();
}

QString Workspace::sourceKey() const
{
    if (isSample())
        return u"sample"_s;
    SourceLocation absolute = location();
    if (absolute.isFile())
        absolute.file = QFileInfo(absolute.file).absoluteFilePath();
    return absolute.toUrl();
}

QString Workspace::sourceName() const
{
    if (isSample())
        return tr("Пример");
    if (!isOpen())
        return QString();
    return location().isFile() ? QFileInfo(location().file).fileName() : location().displayName();
}

QList<SourceConnection::TableInfo> Workspace::tables() const
{
    return m_connection->tables();
}

QString Workspace::tableToShow(const QString &name) const
{
    const QList<SourceConnection::TableInfo> all = tables();
    const auto isNamed = [&name](const SourceConnection::TableInfo &one) { return one.name == name; };
    if (std::any_of(all.begin(), all.end(), isNamed))
        return name;
    // A view may have no end, or take hours; nobody has asked for it.
    const auto isAtHand = [](const SourceConnection::TableInfo &one) {
        return one.error.isEmpty() && one.rowCount >= 0;
    };
    const auto first = std::find_if(all.begin(), all.end(), isAtHand);
    return first == all.end() ? QString() : first->name;
}

QDateTime Workspace::asOf(const QString &table) const
{
    return m_connection->asOf(table);
}

QStringList Workspace::columnNotes(const QString &table) const
{
    return m_connection->columnNotes(table);
}

std::shared_ptr<const void> Workspace::holdTables() const
{
    return m_tables;
}

void Workspace::dropTable(const QString &name)
{
    std::unique_ptr<MemoryTable> table = MemoryDatabase::instance().takeTable(name);
    if (m_tables.use_count() > 1)
        m_tables->tables.push_back(std::move(table));
    else
        parallel::waitForWaiters(*table);
}

void Workspace::closeTables()
{
    const QStringList names = m_connection->loadedTables();
    for (const QString &name : names)
        m_tables->tables.push_back(MemoryDatabase::instance().takeTable(name));
    m_connection->closeTables();
    m_tables = std::make_shared<HeldTables>();
}

// ---------------------------------------------------------------------------------------------------------
// The table "sessions".

bool Workspace::hasSessions() const
{
    const QList<SourceConnection::TableInfo> all = tables();
    return std::any_of(all.begin(), all.end(), [](const SourceConnection::TableInfo &one) {
        return one.name == sessionsTable && one.error.isEmpty();
    });
}

bool Workspace::areSessionsLoaded() const
{
    return m_connection->loadedTables().contains(sessionsTable);
}

void Workspace::withSessions(QObject &owner, WithoutSessions otherwise, const std::function<void()> &work)
{
    if (areSessionsLoaded()) {
        work();
        return;
    }
    m_waiting.append({&owner, otherwise, work});
    // To begin another operation would cancel the one under way.
    if (isOpeningSource())
        Q_EMIT refused(tr("Сначала должна открыться база данных"));
    serveWaiting();
}

void Workspace::serveWaiting()
{
    if (isBusy() || m_waiting.isEmpty())
        return;
    if (areSessionsLoaded())
        finishWaiting();
    else
        begin({Operation::Sessions, tr("Загружается таблица %1").arg(sessionsTable), {}},
              [this] { m_connection->load({sessionsTable}); });
}

void Workspace::finishWaiting()
{
    const QList<Waiting> waiting = std::exchange(m_waiting, {});
    for (const Waiting &one : waiting) {
        if (one.owner)
            one.work();
    }
}

bool Workspace::isAwaitingSessions(const QObject *owner) const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(), [owner](const Waiting &one) {
        return one.otherwise == WithoutSessions::GiveUp && one.owner == owner;
    });
}

void Workspace::forgetAwaiting(const QObject *owner)
{
    m_waiting.removeIf([owner](const Waiting &one) {
        return one.otherwise == WithoutSessions::GiveUp && one.owner == owner;
    });
}

} // namespace sito

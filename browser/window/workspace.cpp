// SPDX-License-Identifier: MIT
#include <browser/window/workspace.h>

#include <hostkit/parallel/tablelock.h>

#include <sources/bytesreader.h>

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

/// Tables that are out of the catalogue; deleted after it, in the background.
struct Workspace::HeldTables
{
    ~HeldTables()
    {
        for (auto &table : tables)
            parallel::deleteAside(std::move(table));
    }

    std::vector<std::unique_ptr<MemoryTable>> tables;
};

Workspace::Workspace(QObject *parent)
    : QObject(parent), m_connection(new SourceConnection(this)), m_tables(std::make_shared<HeldTables>())
{
    connect(m_connection, &SourceConnection::opened, this, &Workspace::onOpened);
    connect(m_connection, &SourceConnection::loaded, this, &Workspace::onLoaded);
    connect(m_connection, &SourceConnection::refreshed, this, &Workspace::onRefreshed);
    connect(m_connection, &SourceConnection::bytesFetched, this,
            [this](const QString &, int, const QByteArray &bytes) {
                takeOperation().work(bytes, {});
                goOn();
                Q_EMIT changed();
            });
    connect(m_connection, &SourceConnection::counted, this, &Workspace::counted);
    connect(m_connection, &SourceConnection::failed, this, &Workspace::onFailed);
    connect(m_connection, &SourceConnection::cancelled, this, &Workspace::onCancelled);
    connect(m_connection, &SourceConnection::progress, this,
            [this](const QString &table, qint64 rowsRead, qint64 rowsTotal) {
                // Where the source has not counted now, it may have counted before.
                if (const auto known = rowsTotal < 0 ? info(table) : std::nullopt)
                    rowsTotal = known->rowCount;
                const qint64 done = rowsTotal > 0 ? std::min<qint64>(1000, rowsRead * 1000 / rowsTotal) : -1;
                Q_EMIT progress(int(done));
            });
}

Workspace::~Workspace()
{
    m_connection->disconnect(this);
    m_connection->cancel();
    m_wanted.clear();
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

void Workspace::load(const QString &name, const ShowRequest &request, bool withSessions,
                     SourceConnection::Extent extent)
{
    const std::optional<SourceConnection::TableInfo> known = info(name);
    if (!known) {
        Q_EMIT failed(tr("Таблицы «%1» нет").arg(name));
        return;
    }
    if (!known->error.isEmpty()) {
        Q_EMIT failed(known->error);
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
    // A filter of sessions needs all of them; keys that are asked for may fit only the columns of the whole.
    if (name == sessionsTable || request.hasFilters())
        extent = SourceConnection::Extent::Whole;
    QStringList wanted{name};
    if (withSessions && name != sessionsTable && hasSessions())
        wanted.append(sessionsTable);
    loadTables(wanted, request, wanted.size() > 1 ? SourceConnection::Extent::Whole : extent, QString());
}

void Workspace::loadTables(const QStringList &wanted, const ShowRequest &request,
                           SourceConnection::Extent extent, const QString &earlierError)
{
    Operation operation{Operation::Show, tr("Загружается таблица %1").arg(wanted.first()), request};
    operation.table = wanted.first();
    operation.wanted = wanted;
    operation.extent = extent;
    operation.earlierError = earlierError;
    m_restOf.clear();
    begin(std::move(operation), [this, &wanted, extent] { m_connection->load(wanted, extent); });
}

void Workspace::readRest(const QString &name)
{
    m_restOf = name;
    goOn();
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

void Workspace::setGrowingColumn(const QString &table, const QString &column)
{
    m_connection->setGrowingColumn(table, column);
}

void Workspace::fetchBytes(QObject &owner, const Record &row, int column, qint64 limit, const BytesWork &work)
{
    m_wanted.push_back({&owner, row, column, limit, work});
    goOn();
}

/// Begins to fetch the bytes that were wanted first, if they still are.
void Workspace::fetchNext()
{
    std::erase_if(m_wanted, [](const Wanted &one) { return !one.owner; });
    if (isBusy() || m_wanted.empty())
        return;
    const Wanted next = std::move(m_wanted.front());
    m_wanted.erase(m_wanted.begin());
    begin({.kind = Operation::Bytes,
           .activity = tr("Читается значение"),
           .request = {},
           .work =
               [owner = next.owner, work = next.work](const QByteArray &bytes, const QString &error) {
                   if (owner)
                       work(bytes, error);
               }},
          [this, &next] { m_connection->fetchBytes(next.row, next.column, next.limit); });
}

/// Tells \a reason to whoever waits for bytes.
void Workspace::refuseWanted(const QString &reason)
{
    for (Wanted &one : std::exchange(m_wanted, {})) {
        one.row = Record();
        if (one.owner)
            one.work({}, reason);
    }
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
    m_restOf.clear();
    refuseWanted(tr("Прервано"));
    cancelLast();
}

void Workspace::onOpened()
{
    Operation operation = takeOperation();
    m_waiting.clear();
    m_restOf.clear();
    refuseWanted(tr("Таблица уже закрыта"));
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
    if (operation.kind == Operation::Show) {
        Q_EMIT tableLoaded(operation.table, operation.request);
        readRest(operation.table);
    }
    goOn();
    Q_EMIT changed();
}

void Workspace::onRefreshed(const QList<SourceConnection::RefreshedTable> &tables)
{
    const Operation operation = takeOperation();
    if (operation.kind != Operation::Rest)
        Q_EMIT refreshed(tables);
    else if (tables.first().isReshaped)
        Q_EMIT reshaped(operation.wanted.first());
    else
        Q_EMIT restLoaded(operation.wanted.first());
    goOn();
    if (!operation.activity.isEmpty())
        Q_EMIT changed();
}

void Workspace::onFailed(const QString &message)
{
    const Operation operation = takeOperation();
    // Whatever is wrong with the others, the table itself may be fine; if not, the second failure tells so.
    // (To begin another load would cancel what is under way.)
    if (operation.wanted.size() > 1 && m_operations.empty()) {
        loadTables(operation.wanted.first(1), operation.request, operation.extent, message);
        return;
    }
    if (operation.kind == Operation::Open)
        Q_EMIT openFailed(operation.location, message);
    if (operation.kind == Operation::Show && operation.wanted.size() == 1)
        Q_EMIT tableFailed(operation.wanted.constFirst(), message);
    if (operation.kind == Operation::Bytes)
        operation.work({}, message);
    else if (operation.kind == Operation::Refresh)
        Q_EMIT refreshFailed(message, operation.activity.isEmpty());
    else if (operation.kind != Operation::Open)
        Q_EMIT failed(message);
    if (operation.kind == Operation::Sessions) {
        m_waiting.removeIf([](const Waiting &one) { return one.otherwise == WithoutSessions::GiveUp; });
        finishWaiting();
    }
    goOn();
    if (!operation.activity.isEmpty())
        Q_EMIT changed();
}

void Workspace::onCancelled()
{
    const Operation operation = takeOperation();
    if (operation.kind == Operation::Bytes)
        operation.work({}, tr("Прервано"));
    if (!m_operations.empty()) // superseded
        return;
    Q_EMIT interrupted();
    goOn();
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

bool Workspace::areRowsCounted() const
{
    const QList<SourceConnection::TableInfo> all = tables();
    return std::all_of(all.begin(), all.end(), [](const SourceConnection::TableInfo &one) {
        return one.isView || !one.error.isEmpty() || (one.rowCount >= 0 && !one.isEstimate);
    });
}

QString Workspace::tableToShow(const QString &name) const
{
    if (info(name))
        return name;
    const QList<SourceConnection::TableInfo> all = tables();
    // A view may have no end, or take hours; nobody has asked for it.
    const auto isAtHand = [](const SourceConnection::TableInfo &one) {
        return one.error.isEmpty() && !one.isView;
    };
    const auto first = std::find_if(all.begin(), all.end(), isAtHand);
    return first == all.end() ? QString() : first->name;
}

/// What is known of \a table before it is loaded; nothing when there is none.
std::optional<SourceConnection::TableInfo> Workspace::info(const QString &table) const
{
    const QList<SourceConnection::TableInfo> all = tables();
    const auto found = std::find_if(all.begin(), all.end(), [&table](const SourceConnection::TableInfo &one) {
        return one.name == table;
    });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

bool Workspace::isComplete(const QString &table) const
{
    return m_connection->isComplete(table);
}

QDateTime Workspace::asOf(const QString &table) const
{
    return m_connection->asOf(table);
}

QStringList Workspace::columnNotes(const QString &table) const
{
    return m_connection->columnNotes(table);
}

QList<int> Workspace::bytesColumns(const QString &table) const
{
    return m_connection->bytesColumns(table);
}

std::shared_ptr<BytesReader> Workspace::bytesReader(const QString &table) const
{
    return m_connection->bytesReader(table);
}

std::shared_ptr<const void> Workspace::holdTables() const
{
    return m_tables;
}

void Workspace::dropTable(const QString &name)
{
    refuseWanted(tr("Таблица уже закрыта"));
    std::unique_ptr<MemoryTable> table = MemoryDatabase::instance().takeTable(name);
    if (m_tables.use_count() > 1)
        m_tables->tables.push_back(std::move(table));
    else
        parallel::deleteAside(std::move(table));
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
    const std::optional<SourceConnection::TableInfo> sessions = info(sessionsTable);
    return sessions && sessions->error.isEmpty();
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

/// Begins what waits, if nothing is under way.
void Workspace::goOn()
{
    serveWaiting();
    fetchNext();
    if (isBusy() || m_restOf.isEmpty())
        return;
    const QStringList wanted{std::exchange(m_restOf, {})};
    // It may be there by now, or gone.
    if (isComplete(wanted.first()) || !m_connection->loadedTables().contains(wanted.first()))
        return;
    begin({.kind = Operation::Rest,
           .activity = tr("Загружается таблица %1").arg(wanted.first()),
           .request = {},
           .wanted = wanted},
          [this, &wanted] { m_connection->refresh(wanted); });
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

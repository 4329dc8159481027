// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/sampledatabase.h>
#include <browser/window/showrequest.h>

#include <sources/sourceconnection.h>
#include <sources/sourcelocation.h>

#include <data/record.h>

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sito {

/// The source that is open, its tables that are loaded, and what waits for them.
///
/// Sources are opened and tables loaded in the background, one operation at a time. What is open stays until
/// the new source is there, and stays for good when it does not come. The table "sessions" is loaded for
/// whoever needs it, after what is under way. Of a large table the first rows come soon, and the rest after
/// them.
///
/// Knows no widgets. Used from one thread, which needs an event loop.
class Workspace : public QObject
{
    Q_OBJECT
public:
    /// What becomes of work that waits for the table "sessions" when that cannot be loaded.
    enum class WithoutSessions {
        GiveUp,
        GoOn,
    };

    explicit Workspace(QObject *parent = nullptr);
    /// Cancels what is under way and lets go of the tables. Nothing else may refer to them but for what has a
    /// handle of holdTables(). Emits nothing.
    ~Workspace() override;

    /// Opens \a location. opened(), openFailed() or interrupted() follows, unless it is superseded.
    void open(const SourceLocation &location, const ShowRequest &request = {});
    /// Opens the sample that is built in. Throws Exception when its file cannot be written.
    void openSample(const ShowRequest &request = {});
    /// Loads the table \a name, and with it, if \a withSessions, the table "sessions" where there is one; its
    /// failure harms no other table. tableLoaded() or failed() follows, unless it is cancelled. Emits
    /// refused() while a source is being opened. Does nothing when the table is being loaded already. With
    /// Extent::Beginning, the table may have only its first rows when tableLoaded() comes; the rest is then
    /// read as by readRest().
    void load(const QString &name, const ShowRequest &request = {}, bool withSessions = false,
              SourceConnection::Extent extent = SourceConnection::Extent::Beginning);
    /// Reads the rest of the loaded table \a name, if it is not complete, as soon as nothing else is under
    /// way; what needs the table "sessions" waits for the end. restLoaded(), reshaped() or failed() follows,
    /// unless it is cancelled.
    void readRest(const QString &name);
    /// Brings the loaded table \a name, and with it the table "sessions" if that is loaded, up to date.
    /// refreshed() or refreshFailed() follows, unless it is superseded. \a byItself: the user has not asked
    /// for it; nothing is read then unless something may have changed. Only if isSettled().
    void refresh(const QString &name, bool byItself);
    /// As SourceConnection::setGrowingColumn().
    void setGrowingColumn(const QString &table, const QString &column);
    /// What is to be done with the bytes of a cell, or with the reason why there are none; null bytes without
    /// one stand for a cell that is empty.
    using BytesWork = std::function<void(const QByteArray &bytes, const QString &error)>;
    /// Fetches the bytes of a cell, see SourceConnection::fetchBytes(), as soon as nothing else is under way,
    /// and calls \a work on behalf of \a owner, once, unless \a owner is gone by then. Other work that begins
    /// meanwhile interrupts the fetch, which is then the reason why there are none.
    void fetchBytes(QObject &owner, const Record &row, int column, qint64 limit, const BytesWork &work);
    /// Lets go of the loaded table \a name, to load it again. Nothing may refer to it but for what has a
    /// handle of holdTables().
    void dropTable(const QString &name);
    /// Cancels the load of a table that was to be shown, if that is under way.
    void cancelLoad();
    /// Cancels what is under way, on behalf of the user; what waits for it is given up.
    void interrupt();

    /// Whether something is being opened or loaded.
    bool isBusy() const { return !m_operations.empty(); }
    /// Whether nothing is being opened or loaded, and nothing waits.
    bool isSettled() const
    {
        return m_operations.empty() && m_waiting.isEmpty() && m_restOf.isEmpty() && m_wanted.empty();
    }
    /// Whether a source is being opened; tables cannot be loaded until then.
    bool isOpeningSource() const;
    /// What is being done, for the user; empty when nothing is that the user asked for.
    QString activity() const;
    /// The table that is being loaded to be shown; empty when there is none.
    QString comingTable() const;

    bool isOpen() const;
    bool isSample() const { return m_sample != nullptr; }
    /// Of the source that is open; without a driver when there is none.
    SourceLocation location() const;
    /// Tells sources apart, however they are written; an address without a password, but for the sample.
    QString sourceKey() const;
    /// Short, for a title; empty when nothing is open.
    QString sourceName() const;
    QList<SourceConnection::TableInfo> tables() const;
    /// Whether the rows of all tables are counted that can be; of some they may never be.
    bool areRowsCounted() const;
    /// \a name, if there is such a table, or else the first one that can be loaded and is no view; empty when
    /// there is none.
    QString tableToShow(const QString &name) const;
    /// Whether all rows of a loaded table are there.
    bool isComplete(const QString &table) const;
    /// A moment, in UTC, at which a loaded table was in the source as it is here.
    QDateTime asOf(const QString &table) const;
    /// Lines for the user about a loaded table.
    QStringList columnNotes(const QString &table) const;
    /// See SourceConnection::bytesColumns().
    QList<int> bytesColumns(const QString &table) const;
    /// See SourceConnection::bytesReader().
    std::shared_ptr<BytesReader> bytesReader(const QString &table) const;
    /// Keeps the tables of the open source alive, also when another source is opened, until all handles are
    /// gone; the last one may go in any thread.
    std::shared_ptr<const void> holdTables() const;

    /// Whether the source has a table "sessions" that can be loaded.
    bool hasSessions() const;
    /// Calls \a work on behalf of \a owner as soon as the table "sessions" is loaded. Not at all if its load
    /// is interrupted, another source is opened or \a owner is gone by then.
    void withSessions(QObject &owner, WithoutSessions otherwise, const std::function<void()> &work);
    /// Whether work of \a owner waits that is given up without the sessions.
    bool isAwaitingSessions(const QObject *owner) const;
    /// Forgets such work.
    void forgetAwaiting(const QObject *owner);

Q_SIGNALS:
    /// The tables are about to be closed: models, filters and records on them must go.
    void aboutToClose();
    /// A source has taken the place of the one before.
    void opened(const sito::ShowRequest &request);
    /// \a location could not be opened, as \a message says in one line.
    void openFailed(const sito::SourceLocation &location, const QString &message);
    void tableLoaded(const QString &name, const sito::ShowRequest &request);
    /// \a name could not be loaded, as failed() says next.
    void tableFailed(const QString &name, const QString &message);
    /// All rows of the table \a name are there now.
    void restLoaded(const QString &name);
    /// Values of the rest of the table \a name do not fit the columns that its first rows needed; dropTable()
    /// and a load() of Extent::Whole give the table.
    void reshaped(const QString &name);
    void refreshed(const QList<sito::SourceConnection::RefreshedTable> &tables);
    void refreshFailed(const QString &message, bool byItself);
    /// The table \a name has \a rowCount rows, see SourceConnection::counted().
    void counted(const QString &name, qint64 rowCount);
    /// What else could not be done, in one line.
    void failed(const QString &message);
    /// What is not done now, and why.
    void refused(const QString &message);
    void interrupted();
    /// How much of the table is loaded, in thousandths; -1 when it is not known.
    void progress(int thousandths);
    /// Something began or ended, other than a refresh that the user has not asked for; comes after the signal
    /// that says what.
    void changed();

private:
    /// What was begun with the connection and is not answered yet.
    struct Operation
    {
        enum Kind { Open, Show, Rest, Sessions, Refresh, Bytes };

        Kind kind = Open;
        QString activity;
        ShowRequest request;
        SourceLocation location = {};
        /// Open: when it is the sample.
        std::unique_ptr<SampleDatabase> sample = {};
        /// Show: which table; empty once it is cancelled.
        QString table = {};
        QStringList wanted = {};
        SourceConnection::Extent extent = SourceConnection::Extent::Whole;
        /// What went wrong with the others.
        QString earlierError = {};
        /// Bytes.
        BytesWork work = {};
    };
    /// Bytes that are to be fetched.
    struct Wanted
    {
        QPointer<QObject> owner;
        Record row;
        int column;
        qint64 limit;
        BytesWork work;
    };
    struct HeldTables;
    struct Waiting
    {
        QPointer<QObject> owner;
        WithoutSessions otherwise;
        std::function<void()> work;
    };

    void begin(Operation operation, const std::function<void()> &start);
    void loadTables(const QStringList &wanted, const ShowRequest &request, SourceConnection::Extent extent,
                    const QString &earlierError);
    Operation takeOperation();
    void cancelLast();
    void onOpened();
    void onLoaded();
    void onFailed(const QString &message);
    void onCancelled();
    void goOn();
    void fetchNext();
    void refuseWanted(const QString &reason);
    void serveWaiting();
    void finishWaiting();
    std::optional<SourceConnection::TableInfo> info(const QString &table) const;
    bool areSessionsLoaded() const;
    void closeTables();
    void onRefreshed(const QList<SourceConnection::RefreshedTable> &tables);

    SourceConnection *m_connection;
    /// Those that are not answered yet: all but the last are cancelled.
    std::vector<Operation> m_operations;
    /// While there are any, something is under way.
    QList<Waiting> m_waiting;
    /// The table whose rest is to be read; empty for none.
    QString m_restOf;
    std::vector<Wanted> m_wanted;
    std::unique_ptr<SampleDatabase> m_sample;
    /// What holdTables() hands out; filled when the source goes.
    std::shared_ptr<HeldTables> m_tables;
};

} // namespace sito

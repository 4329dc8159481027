// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>
#include <sources/sources_export.h>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QString>

namespace sito {

/// An open Qt SQL connection to a source, under a name of its own in QSqlDatabase's list for as long as this
/// object lives. It only reads.
///
/// The schema of an SQLite file is not trusted: it calls only functions and virtual tables that do no harm.
///
/// A PostgreSQL session runs no code that others planted in the database, as long as its statements qualify
/// every name: its search path is empty, and a table of which row policies would hide rows is an error.
/// PGOPTIONS, PGSERVICE and the other variables of libpq hold as far as they do not contradict that.
///
/// A session of MariaDB or MySQL only reads, is in UTC, and has no SQL mode that changes what quotation
/// marks mean.
///
/// **Threads.** It belongs to the thread that made it, and ends there; handles of its connection must be gone
/// by then.
///
/// **Cost.** One connection; the constructor blocks until the server has answered.
class SOURCES_EXPORT SourceDatabase
{
    Q_DECLARE_TR_FUNCTIONS(SourceDatabase)
    Q_DISABLE_COPY_MOVE(SourceDatabase)
public:
    /// Throws Exception with a message of one line that names the source (never the password): the file is
    /// missing, a directory, not to be read, empty or no SQLite database; the driver is not installed; the
    /// server is not reached within \a connectSeconds per address or refuses the user.
    ///
    /// A query of a server fails when somebody else keeps a table locked for longer than \a lockMilliseconds;
    /// MariaDB and MySQL count whole seconds, at least one.
    explicit SourceDatabase(const SourceLocation &location, int connectSeconds = 10,
                            int lockMilliseconds = 10'000);
    ~SourceDatabase();

    /// A handle on the connection, for queries in this thread.
    QSqlDatabase connection() const;

private:
    static void checkFile(const QString &fileName);
    void open(const SourceLocation &location, int connectSeconds, int lockMilliseconds) const;

    const QString m_name;
};

} // namespace sito

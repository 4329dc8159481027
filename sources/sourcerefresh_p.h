// SPDX-License-Identifier: MIT
#pragma once

#include <sources/loadedtable_p.h>
#include <sources/sourcecell_p.h>
#include <sources/sourceconnection.h>
#include <sources/sourcelocation.h>
#include <sources/tableshape_p.h>
#include <sources/tablesource_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class MemoryTable;

namespace sito {

class TableLoader;
class TableRefresh;

/// Reads tables of a source again and brings what has changed into the tables that were loaded from it. Used
/// in the thread of the source's session.
class SourceRefresh
{
    Q_DISABLE_COPY_MOVE(SourceRefresh)
public:
    struct Order
    {
        std::vector<MemoryTable *> tables = {};
        /// Whether to read only what may have changed.
        bool ifChanged = false;
        /// The columns of SourceConnection::setGrowingColumn(), by the names of their tables.
        QHash<QString, QString> growing = {};
    };
    /// As SourceConnection::progress().
    using Progress = std::function<void(const QString &table, qint64 rowsRead, qint64 rowsTotal)>;

    /// \a mutex is locked whenever a loaded table is touched: who requests the stop and has locked it then
    /// may delete the tables.
    SourceRefresh(const SourceLocation &location, bool isStrict, std::mutex &mutex);

    /// To be called before a connection to the source is opened.
    void noteConnection();
    /// Whether the file of the source, if it is one, is no longer what noteConnection() found: then the
    /// connection may still be to the one before.
    bool isFileChanged() const;
    /// To be called before \a loader loads tables, and with their names afterwards.
    void beginLoad(const TableLoader &loader);
    void endLoad(const TableLoader &loader, const QStringList &tables);

    /// Throws parallel::Stopped when \a stop is requested.
    QList<SourceConnection::RefreshedTable> refresh(const TableLoader &loader, const Order &order,
                                                    const parallel::StopToken &stop,
                                                    const Progress &progress);
    /// What is to be said of the loaded table \a table, as \a loader or this object read it last.
    TableNotes notes(const TableLoader &loader, const QString &table) const;
    /// The bytes of \a cell, null when it is empty. Throws Exception when they cannot be had.
    QByteArray bytes(const TableLoader &loader, const SourceCell &cell,
                     const parallel::StopToken &stop) const;

private:
    /// What is known of a loaded table.
    struct Known
    {
        std::shared_ptr<const TableShape> shape = {};
        /// TableSource::changeMark() before it was read.
        QString mark = {};
        /// Of the snapshot in which a refresh has read it.
        RowMark rows = {};
    };
    struct Reading;

    static qint64 countBriefly(const TableSource &origin, const TableSource::Table &table,
                               const parallel::StopToken &stop);
    void read(const TableSource &origin, Reading &reading, const parallel::StopToken &stop,
              const Progress &progress) const;
    bool readChanged(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                     const parallel::StopToken &stop, const Progress &progress) const;
    bool readKeys(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                  const parallel::StopToken &stop, const Progress &progress) const;
    bool readRows(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                  const parallel::StopToken &stop, const Progress &progress) const;

    const SourceLocation m_location;
    const bool m_isStrict;
    std::mutex &m_mutex;
    QHash<QString, Known> m_known;
    QString m_mark;
    qint64 m_fileSize = -1;
    QDateTime m_fileTime;
};

} // namespace sito

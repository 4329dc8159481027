// SPDX-License-Identifier: MIT
#pragma once

#include <sources/loadedtable_p.h>
#include <sources/sourceconnection.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

namespace sito {

/// What is to be told of an operation, by a session or, for Cancelled, by the connection itself.
struct SourceReport
{
    enum Kind { Progress, Opened, Loaded, Refreshed, BytesFetched, Counted, Failed, Cancelled };

    Kind kind = Failed;
    /// Counted: the one that has opened the source.
    quint64 operation = 0;
    /// Failed: the message. Progress, BytesFetched, Counted: the table.
    QString text = {};
    qint64 rowsRead = 0;
    qint64 rowsTotal = 0;
    QList<SourceConnection::TableInfo> tables = {};
    std::vector<LoadedTable> loaded = {};
    QList<SourceConnection::RefreshedTable> refreshed = {};
    /// Refreshed: for each table.
    QList<TableNotes> refreshedNotes = {};
    /// BytesFetched: of the cell; null when it is empty.
    QByteArray bytes = {};
    int column = -1;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <sources/loadedtable_p.h>
#include <sources/sourceconnection.h>

#include <QList>
#include <QString>

#include <vector>

namespace sito {

/// What is to be told of an operation, by a session or, for Cancelled, by the connection itself.
struct SourceReport
{
    enum Kind { Progress, Opened, Loaded, Refreshed, Failed, Cancelled };

    Kind kind = Failed;
    quint64 operation = 0;
    /// Failed: the message. Progress: the table.
    QString text = {};
    qint64 rowsRead = 0;
    qint64 rowsTotal = 0;
    QList<SourceConnection::TableInfo> tables = {};
    std::vector<LoadedTable> loaded = {};
    QList<SourceConnection::RefreshedTable> refreshed = {};
};

} // namespace sito

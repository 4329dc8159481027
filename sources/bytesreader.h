// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sources_export.h>

#include <hostkit/parallel/stoptoken.h>

#include <QByteArray>
#include <QList>

#include <memory>
#include <optional>

class MemoryTable;
class Record;

namespace sito {

struct SourceLocation;
struct TableShape;

/// Reads whole bytes of many cells of a loaded table, for an export, by a connection of its own, which it
/// makes when the first are wanted. SourceConnection and TableLoader make such objects. The table must live
/// as long.
///
/// **Threads.** read(), and the destructor after it, in one thread, any; the rest in any.
///
/// **Cost.** A connection, which asks once how the table is declared, and again after a failure. For each
/// value a transaction with two statements, and one more for each 4 MB: up to nine answers of a server. The
/// row is found by an index, but a key that is shown as a text makes the source read the table for each
/// value, unless it is a date, a time or a UUID.
class SOURCES_EXPORT BytesReader
{
    Q_DISABLE_COPY_MOVE(BytesReader)
public:
    ~BytesReader();

    /// The indices of the columns that show bytes, ascending; other values may be among theirs.
    QList<int> columns() const;
    /// The bytes that a cell has now, as SourceConnection::fetchBytes(): null when it is empty, nothing when
    /// its value is no bytes. \a row is a row of the table, whose lock must not be held: it is taken for a
    /// moment, see parallel::underLock(). Throws Exception for the other reasons for which that fails and
    /// when the source does not answer, and parallel::Stopped when \a stop is requested.
    std::optional<QByteArray> read(const Record &row, int column, qint64 limit,
                                   const parallel::StopToken &stop = {});

private:
    friend class SourceConnection;
    friend class TableLoader;
    struct Q_DECL_HIDDEN Private;

    BytesReader(const SourceLocation &location, const MemoryTable &table,
                std::shared_ptr<const TableShape> shape);

    const std::unique_ptr<Private> d;
};

} // namespace sito

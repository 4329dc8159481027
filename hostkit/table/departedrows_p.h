// SPDX-License-Identifier: MIT
#pragma once

#include <data/record.h>
#include <data/tablechanges.h>

#include <deque>
#include <mutex>

namespace sito {

/// Keeps rows alive that leave a table while somebody reads it by the places of its rows.
///
/// **Threads.** Any. begin() is called under the lock of the table, keep() as TableListener::tableChanged().
class DepartedRows
{
    Q_DISABLE_COPY_MOVE(DepartedRows)
public:
    DepartedRows() = default;
    ~DepartedRows() = default;

    /// Keeps the rows that leave from now on, until end().
    void begin();
    void end();
    /// Keeps the rows of \a change if they have left and somebody reads.
    void keep(const TableChange &change) noexcept;

private:
    std::mutex m_mutex;
    std::deque<Record> m_rows;
    int m_readers = 0;
};

} // namespace sito

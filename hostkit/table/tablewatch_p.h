// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/departedrows_p.h>

#include <data/tablechanges.h>

#include <atomic>
#include <functional>

namespace sito {

/// Tells that a table has changed, not what: for who reads the whole table again then.
///
/// **Threads.** Any.
class TableWatch final : public TableListener
{
    Q_DISABLE_COPY_MOVE(TableWatch)
public:
    /// Listens to \a changes. \a wake is called for the first change after each rearm(), in the thread of the
    /// writer; what it throws is thrown away, and it is called for the next change again.
    TableWatch(TableChanges &changes, std::function<void()> wake);
    ~TableWatch() override;

    /// Listens no longer; \a wake is not called any more.
    void stop() noexcept;
    /// To be called before the table is read again.
    void rearm() noexcept { m_isWoken.store(false); }
    /// Keeps the rows alive that leave the table while it is read.
    DepartedRows &departedRows() { return m_departed; }

    void tableChanged(const TableChange &change) noexcept override;

private:
    TableChanges &m_source;
    const std::function<void()> m_wake;
    DepartedRows m_departed;
    std::atomic<bool> m_isWoken = false;
    bool m_isListening = true;
};

} // namespace sito

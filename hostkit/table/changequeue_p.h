// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/departedrows_p.h>

#include <data/record.h>
#include <data/tablechanges.h>

#include <QtGlobal>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

namespace sito {

/// Queues the changes of a table until the GUI thread takes them, with handles on their rows.
///
/// **Threads.** Any; the order in which the locks of the table, of TableChanges and of this object are taken
/// is this one.
class ChangeQueue final : public TableListener
{
    Q_DISABLE_COPY_MOVE(ChangeQueue)
public:
    struct Change
    {
        Record row;
        TableChange::Kind kind = TableChange::Updated;
        /// The columns that were written, a bit each; the last bit stands for all columns from there on.
        quint64 columns = 0;
    };
    using Changes = std::deque<Change>;

    static constexpr quint64 allColumns = ~quint64(0);
    static constexpr int lastBit = 63;

    /// Listens to \a changes. \a wake is called for the first change after each take(), in the thread of the
    /// writer; what it throws is thrown away, and it is called for the next change again.
    ChangeQueue(TableChanges &changes, std::function<void()> wake);
    ~ChangeQueue() override;

    TableChanges &followed() const { return m_source; }
    /// Listens no longer; \a wake is not called any more.
    void stop() noexcept;
    bool isEmpty() const;
    /// How many changes of rows were queued since the beginning.
    quint64 toldCount() const;
    /// Takes the oldest changes, as many as the GUI thread may handle at once; \a count is the toldCount() up
    /// to the last of them. Returns false when changes are missing, because rows were inserted before others
    /// or there was no room: then the table must be listed again.
    bool take(Changes &changes, quint64 &count);

    /// For a listing, under the lock of the table: takes all queued changes, and keeps rows that leave from
    /// now on alive until endListing(). Returns toldCount().
    quint64 beginListing(Changes &before);
    void endListing() { m_departed.end(); }

    /// How many readers of cells wait for the lock of the table, so that a pass releases it soon.
    std::atomic<int> &waitingReaders() { return m_waitingReaders; }

    void tableChanged(const TableChange &change) noexcept override;

private:
    void keep(const TableChange &change);

    TableChanges &m_source;
    const std::function<void()> m_wake;
    std::atomic<int> m_waitingReaders = 0;
    mutable std::mutex m_mutex;
    Changes m_changes;
    quint64 m_toldCount = 0;
    DepartedRows m_departed;
    bool m_isListening = true;
    bool m_isLost = false;
    bool m_isWoken = false;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#include <hostkit/table/changequeue_p.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sito {

namespace {

/// With more changes pending, the rows are listed again instead.
constexpr size_t mostChanges = size_t(1) << 20;
/// So many changes take the GUI thread some milliseconds.
constexpr size_t mostAtOnce = size_t(1) << 15;

quint64 bitsOf(std::span<const int> columns)
{
    quint64 bits = columns.empty() ? ChangeQueue::allColumns : 0;
    for (const int column : columns)
        bits |= quint64(1) << std::min(column, ChangeQueue::lastBit);
    return bits;
}

} // namespace

ChangeQueue::ChangeQueue(TableChanges &changes, std::function<void()> wake)
    : m_source(changes), m_wake(std::move(wake))
{
    m_source.add(this);
}

ChangeQueue::~ChangeQueue()
{
    stop();
}

void ChangeQueue::stop() noexcept
{
    if (std::exchange(m_isListening, false))
        m_source.remove(this);
}

bool ChangeQueue::isEmpty() const
{
    const std::lock_guard lock(m_mutex);
    return m_changes.empty() && !m_isLost;
}

quint64 ChangeQueue::toldCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_toldCount;
}

bool ChangeQueue::take(Changes &changes, quint64 &count)
{
    const std::lock_guard lock(m_mutex);
    m_isWoken = false;
    if (m_changes.size() <= mostAtOnce || m_isLost) {
        changes.swap(m_changes);
    } else {
        const auto end = m_changes.begin() + qptrdiff(mostAtOnce);
        changes.assign(std::make_move_iterator(m_changes.begin()), std::make_move_iterator(end));
        m_changes.erase(m_changes.begin(), end);
    }
    count = m_toldCount - m_changes.size();
    return !m_isLost;
}

quint64 ChangeQueue::beginListing(Changes &before)
{
    const std::lock_guard lock(m_mutex);
    before.swap(m_changes);
    m_isLost = false;
    // Nobody will take what there is no longer.
    m_isWoken = false;
    m_departed.begin();
    return m_toldCount;
}

void ChangeQueue::tableChanged(const TableChange &change) noexcept
{
    m_departed.keep(change);
    const std::lock_guard lock(m_mutex);
    m_toldCount += change.rows.size();
    try {
        keep(change);
    } catch (...) {
        m_isLost = true;
    }
    if (m_isWoken)
        return;
    try {
        m_wake();
        m_isWoken = true;
    } catch (...) {
        // Tried again with the next change.
    }
}

void ChangeQueue::keep(const TableChange &change)
{
    if (change.kind == TableChange::Inserted || m_changes.size() + change.rows.size() > mostChanges)
        m_isLost = true;
    if (m_isLost)
        return;
    const quint64 columns = bitsOf(change.columns);
    for (unsigned char *row : change.rows)
        m_changes.push_back({Record(row), change.kind, columns});
}

} // namespace sito

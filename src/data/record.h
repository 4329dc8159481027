// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>
#include <data/table.h>

#include <QTypeInfo>

#include <atomic>
#include <utility>

/// The header in front of a row's data area.
struct RowHeader
{
    std::atomic<qint32> references;
    Table *table;
};

static_assert(sizeof(RowHeader) == 16, "a row's data area begins 16 bytes into its block");
static_assert(offsetof(RowHeader, table) == 8);

/// A shared handle on one row. The row lives as long as a handle refers to it or its table keeps it; the last
/// handle gives it back through Table::freeRow(). The table must outlive all handles on its rows.
///
/// **Threads.** Counts are atomic: different handles on one row may be used in different threads, one handle
/// may not.
///
/// **Cost.** One pointer. A copy, and its destruction, each change the count of the row; a move does not.
class DATABASE_EXPORT Record
{
public:
    /// A handle on no row.
    Record() noexcept = default;
    /// A new row of \a table, known to this handle alone: every column absent, or its type's zero where it
    /// admits no absent values.
    explicit Record(const Table *table);
    /// A further handle on \a row, which is a row block of some table or null.
    explicit Record(unsigned char *row) noexcept : m_row(row) { retain(); }
    Record(const Record &other) noexcept : m_row(other.m_row) { retain(); }
    Record(Record &&other) noexcept : m_row(std::exchange(other.m_row, nullptr)) {}
    Record &operator=(const Record &other) noexcept
    {
        Record copy(other);
        swap(copy);
        return *this;
    }
    Record &operator=(Record &&other) noexcept
    {
        Record taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~Record()
    {
        if (m_row && header()->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            header()->table->freeRow(m_row);
    }

    /// Exchanges the rows of the two handles; their counts stay as they are.
    void swap(Record &other) noexcept { std::swap(m_row, other.m_row); }

    /// Whether this is a handle on no row.
    bool isNull() const { return !m_row; }
    /// The row block; null for a handle on no row.
    unsigned char *row() const { return m_row; }
    /// The table the row belongs to; null for a handle on no row.
    Table *table() const { return m_row ? header()->table : nullptr; }
    /// The view of \a column in this row, which must not be null; valid as long as the row.
    Field field(int column) const { return header()->table->dataPtr(m_row, column); }

    bool operator==(const Record &other) const { return m_row == other.m_row; }

private:
    RowHeader *header() const { return reinterpret_cast<RowHeader *>(m_row); }
    void retain() noexcept
    {
        if (m_row)
            header()->references.fetch_add(1, std::memory_order_relaxed);
    }

    unsigned char *m_row = nullptr;
};

static_assert(sizeof(Record) == sizeof(void *));
Q_DECLARE_TYPEINFO(Record, Q_RELOCATABLE_TYPE);

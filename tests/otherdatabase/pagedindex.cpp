// SPDX-License-Identifier: MIT
#include "pagedindex_p.h"

#include <algorithm>
#include <utility>

namespace {
constexpr std::ptrdiff_t pageRows = 5;
}

PagedIndex::PagedIndex()
{
    assign({});
}

void PagedIndex::assign(std::vector<unsigned char *> rows)
{
    m_rows = std::move(rows);
    m_pages.clear();
    m_table.clear();
    m_lastPage = nullptr;
    m_table.push_back(&m_pages.emplace_back(IndexPage{m_noRow, m_noRow + 1}));
    unsigned char **row = m_rows.data();
    unsigned char **const end = row + m_rows.size();
    while (row != end) {
        addSlots();
        m_lastPage->first = row;
        row += std::min(pageRows, end - row);
        m_lastPage->last = row;
    }
    publish();
}

void PagedIndex::append(unsigned char *row)
{
    if (m_rows.size() == m_rows.capacity()) {
        std::vector<unsigned char *> rows;
        rows.reserve(2 * m_rows.size() + 1);
        rows.assign(m_rows.begin(), m_rows.end());
        assign(std::move(rows));
    }
    m_rows.push_back(row);
    unsigned char **const end = m_rows.data() + m_rows.size();
    if (!m_lastPage || m_lastPage->last - m_lastPage->first == pageRows) {
        addSlots();
        m_lastPage->first = end - 1;
    }
    m_lastPage->last = end;
    publish();
}

/// Adds slots of which the last has a page for rows.
void PagedIndex::addSlots()
{
    const size_t kind = m_table.size() % 3;
    if (kind == 0)
        m_table.push_back(nullptr);
    if (kind != 2)
        m_table.push_back(&m_pages.emplace_back(IndexPage{m_noRow, m_noRow}));
    m_lastPage = &m_pages.emplace_back();
    m_table.push_back(m_lastPage);
}

void PagedIndex::publish()
{
    m_slots = m_table.data();
    m_slotCount = qint64(m_table.size());
}

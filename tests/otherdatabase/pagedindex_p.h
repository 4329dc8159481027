// SPDX-License-Identifier: MIT
#pragma once

#include <data/indexlist.h>

#include <deque>
#include <span>
#include <vector>

/// The rows of a table in pages of a few rows. Between them stand pages without rows and empty slots, and the
/// first slot holds a page that nobody may visit.
class PagedIndex final : public IndexList
{
public:
    PagedIndex();

    const std::vector<unsigned char *> &rows() const { return m_rows; }
    /// Replaces all rows.
    void assign(std::vector<unsigned char *> rows);
    void append(unsigned char *row);

private:
    void addSlots();
    void publish();

    /// All rows in order; the pages are parts of it.
    std::vector<unsigned char *> m_rows;
    std::deque<IndexPage> m_pages;
    std::vector<IndexPage *> m_table;
    IndexPage *m_lastPage = nullptr;
    unsigned char *m_noRow[1] = {nullptr};
};

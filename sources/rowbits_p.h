// SPDX-License-Identifier: MIT
#pragma once

#include <database/cellvalue.h>

#include <QList>

class Field;
class Table;

namespace sito {

/// Compares rows of two tables that have the same columns by the bits of their values.
class RowBits
{
public:
    RowBits(const Table &one, const Table &other) : m_one(one), m_other(other) {}

    /// Whether \a row of the one table and \a other of the other hold the same in \a columns.
    bool areEqual(unsigned char *row, unsigned char *other, const QList<int> &columns) const;
    /// The hash value of what \a row of \a table, either of them, holds in \a columns.
    quint32 hash(const Table &table, unsigned char *row, const QList<int> &columns) const;
    /// What \a field holds, to be stored in another row.
    static CellValue cell(const Field &field);

private:
    const Table &m_one;
    const Table &m_other;
};

} // namespace sito

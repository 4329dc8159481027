// SPDX-License-Identifier: MIT
#pragma once

#include <data/record.h>
#include <data/xdecimal.h>

#include <QList>

#include <vector>

/// The different numbers in an XDecimal column of some keys, in ascending order. Their bytes say nothing:
/// equal numbers may have different ones. So a number is looked up by xdecimal::compare() alone.
class XDecimalOrder
{
public:
    XDecimalOrder() = default;
    /// Of the present values of \a column, defined by \a def, in \a keys, rows of \a table.
    XDecimalOrder(const Table *table, const ColumnDef *def, int column, const QList<Record> &keys);

    /// The rank, from 0, of the number that equals \a value; -1 when there is none. Takes time in proportion
    /// to the logarithm of their number.
    qsizetype rankOf(const xdecimal &value) const;

private:
    std::vector<xdecimal> m_values;
};

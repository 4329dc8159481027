// SPDX-License-Identifier: MIT
#pragma once

#include <data/record.h>

#include <support/allocationcounter.h>

#include <QList>

/// Whether the database library at hand allocates memory to compare \a record in one of \a columns, as it
/// may where that takes a text.
inline bool comparisonAllocates(const Record &record, const QList<int> &columns)
{
    const AllocationCounter allocations;
    for (const int column : columns)
        (void)record.field(column).compare(record.field(column));
    return allocations.count() != 0;
}

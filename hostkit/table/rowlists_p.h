// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/spareblocks_p.h>

#include <QtGlobal>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace sito {

/// Ids of rows, see RowSet.
using RowIds = std::vector<quint32, SpareAllocator<quint32>>;
/// A 1 or a 0 for each id of a row.
using RowFlags = std::vector<quint8, SpareAllocator<quint8>>;

namespace rowlists {

/// How many of \a flags are 1.
inline size_t count(const RowFlags &flags)
{
    return size_t(std::count(flags.begin(), flags.end(), quint8(1)));
}

/// Appends to \a list those of \a ids whose flag is 1, of which there are \a count.
inline void append(RowIds &list, size_t count, const RowIds &ids, const RowFlags &flags)
{
    // Ids come in any order, so a branch would often be guessed wrong: each id is written, those behind the
    // last wanted one to one more place.
    const size_t first = list.size();
    list.resize(first + count + 1);
    quint32 *out = list.data() + first;
    for (const quint32 id : ids) {
        *out = id;
        out += flags[id];
    }
    list.resize(first + count);
}

} // namespace rowlists

} // namespace sito

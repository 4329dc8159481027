// SPDX-License-Identifier: MIT
#include <hostkit/table/shownrows_p.h>

#include <hostkit/table/rowset_p.h>

#include <numeric>

namespace sito {

std::shared_ptr<const ShownRows> ShownRows::all(std::shared_ptr<RowSet> rows)
{
    auto result = std::make_shared<ShownRows>();
    result->count = rows->size();
    result->ids.resize(result->count);
    std::iota(result->ids.begin(), result->ids.end(), quint32(0));
    result->places = result->ids;
    result->rows = std::move(rows);
    return result;
}

} // namespace sito

// SPDX-License-Identifier: MIT
#include <hostkit/values/columnids_p.h>

namespace sito {

std::vector<radixsort::Item> ColumnIds::presentItems() const
{
    std::vector<radixsort::Item> items(size() - 1);
    for (size_t i = 0; i < items.size(); ++i)
        items[i].id = quint32(i) + 1;
    return items;
}

} // namespace sito

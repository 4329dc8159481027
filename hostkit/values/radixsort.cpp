// SPDX-License-Identifier: MIT
#include <hostkit/values/radixsort_p.h>

#include <algorithm>
#include <array>
#include <utility>

namespace sito {

void radixsort::sort(Item *items, size_t count, Item *spare)
{
    const auto less = [](const Item &a, const Item &b) { return a.key < b.key; };
    if (count < 256) {
        std::stable_sort(items, items + count, less);
        return;
    }
    quint64 ones = 0;
    quint64 zeros = 0;
    for (size_t i = 0; i < count; ++i) {
        ones |= items[i].key;
        zeros |= ~items[i].key;
    }
    Item *from = items;
    Item *to = spare;
    for (int shift = 0; shift < 64; shift += 8) {
        // A byte that all keys share orders nothing.
        if (((ones & zeros) >> shift & 0xFF) == 0)
            continue;
        std::array<size_t, 256> starts = {};
        for (size_t i = 0; i < count; ++i)
            ++starts[from[i].key >> shift & 0xFF];
        size_t next = 0;
        for (size_t &start : starts)
            next += std::exchange(start, next);
        for (size_t i = 0; i < count; ++i)
            to[starts[from[i].key >> shift & 0xFF]++] = from[i];
        std::swap(from, to);
    }
    if (from != items)
        std::copy(from, from + count, items);
}

void radixsort::sort(std::vector<Item> &items)
{
    std::vector<Item> spare(items.size());
    sort(items.data(), items.size(), spare.data());
}

} // namespace sito

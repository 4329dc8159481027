// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <vector>

namespace sito {

/// Sorting by numbers.
namespace radixsort {

/// A number by which something is sorted, and its id.
struct Item
{
    quint64 key = 0;
    quint32 id = 0;
};

/// Sorts \a count items by key; equal ones keep their order. \a spare has room for as many.
void sort(Item *items, size_t count, Item *spare);
/// The same for all of \a items.
void sort(std::vector<Item> &items);

} // namespace radixsort

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/context.h>

#include <QtGlobal>

#include <algorithm>
#include <functional>
#include <iterator>
#include <vector>

namespace sito {

/// Work that is split over the cores.
namespace parallel {

/// Calls \a work with the numbers 0 to \a count - 1, each once, in the calling thread and in as many others
/// as the context allows and the pool has free. Returns when all calls have returned. Never waits for a
/// thread of the pool: the calling thread does what no other has begun. When calls throw, throws the first
/// exception and leaves out the calls not yet begun. Throws Stopped when the stop was requested before the
/// end.
void forEach(const Context &context, size_t count, const std::function<void(size_t)> &work);

/// As forEach(), over the elements 0 to \a size - 1 in ranges of at most \a chunk: \a work gets the first
/// element and the one behind the last.
template <typename Work>
void forRanges(const Context &context, size_t size, size_t chunk, const Work &work)
{
    forEach(context, (size + chunk - 1) / chunk, [&](size_t i) {
        const size_t first = i * chunk;
        work(first, std::min(size, first + chunk));
    });
}

/// What sort() adds to Context::done for \a size elements: the elements once for each round.
inline qint64 sortUnits(size_t size)
{
    constexpr size_t chunk = size_t(1) << 15;
    qint64 rounds = 1;
    for (size_t width = chunk; width < size; width *= 2)
        ++rounds;
    return rounds * qint64(size);
}

/// Sorts \a items by \a less, under which no two of them may be equal.
template <typename Item, typename Less>
void sort(const Context &context, std::vector<Item> &items, const Less &less)
{
    constexpr size_t chunk = size_t(1) << 15;
    const size_t size = items.size();
    const auto at = [](std::vector<Item> &vector, size_t index) { return vector.begin() + qptrdiff(index); };

    forRanges(context, size, chunk, [&](size_t first, size_t last) {
        std::sort(at(items, first), at(items, last), less);
        context.advance(qint64(last - first));
    });
    if (size <= chunk)
        return;

    // Each round merges neighbouring runs, in pieces of about a chunk, so that also the last merge is split.
    struct Piece
    {
        size_t first1, last1, first2, last2, to;
    };
    std::vector<Item> merged(size);
    std::vector<Piece> pieces;
    for (size_t width = chunk; width < size; width *= 2) {
        pieces.clear();
        for (size_t first = 0; first < size; first += 2 * width) {
            const size_t middle = std::min(size, first + width);
            const size_t last = std::min(size, middle + width);
            size_t second = middle;
            for (size_t from = first; from < middle;) {
                const size_t to = std::min(middle, from + chunk / 2);
                const size_t secondTo =
                    to == middle
                        ? last
                        : size_t(std::lower_bound(at(items, second), at(items, last), items[to], less) -
                                 items.begin());
                pieces.push_back({from, to, second, secondTo, from + (second - middle)});
                from = to;
                second = secondTo;
            }
        }
        forEach(context, pieces.size(), [&](size_t i) {
            const Piece &piece = pieces[i];
            std::merge(std::make_move_iterator(at(items, piece.first1)),
                       std::make_move_iterator(at(items, piece.last1)),
                       std::make_move_iterator(at(items, piece.first2)),
                       std::make_move_iterator(at(items, piece.last2)), at(merged, piece.to), less);
            context.advance(qint64(piece.last1 - piece.first1 + piece.last2 - piece.first2));
        });
        items.swap(merged);
    }
}

} // namespace parallel

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/rowlists_p.h>

#include <QtGlobal>

#include <memory>

namespace sito {

class RowSet;

/// The rows that a model shows after a pass: their ids, and for each id its place among them. Never changes
/// once it is shared.
struct ShownRows
{
    static constexpr quint32 nowhere = ~quint32(0);

    /// All listed rows of \a rows, in their order.
    static std::shared_ptr<const ShownRows> all(std::shared_ptr<RowSet> rows);

    bool isShown(quint32 id) const { return id < places.size() && places[id] < count; }

    std::shared_ptr<RowSet> rows;
    /// The shown rows in their order, and behind them those that were shown before and are not now.
    RowIds ids;
    /// How many of the ids, the first ones, are shown.
    quint32 count = 0;
    /// By id, the place in ids; nowhere for a row that does not stand there.
    RowIds places;
};

} // namespace sito

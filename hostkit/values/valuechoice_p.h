// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctvalues_p.h>

#include <data/keyvalue.h>

#include <QList>

#include <memory>
#include <vector>

namespace sito {

/// Which of some values are to be hidden.
struct ValueChoice
{
    std::shared_ptr<const DistinctValues> values;
    /// By number.
    std::vector<bool> unchecked;
    /// The keys with which the values were counted.
    QList<KeyValue> givenKeys;

    /// The keys of the unchecked values of \a columnCount columns, and behind them the given keys that are
    /// not among the values.
    QList<KeyValue> excludedKeys(qsizetype columnCount) const;
};

} // namespace sito

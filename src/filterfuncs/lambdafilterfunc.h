// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/filterfunc.h>

#include <functional>
#include <utility>

/// The predicate whose answer comes from a callable of the host. The predicate owns the callable and what it
/// holds.
///
/// **Threads.** Several threads may ask it only if the callable allows that.
///
/// **Cost.** One call of the callable per row.
class SITO_EXPORT LambdaFilterFunc : public FilterFunc
{
    Q_OBJECT
public:
    explicit LambdaFilterFunc(std::function<bool(const Record &)> function, QObject *parent = nullptr)
        : FilterFunc(parent), m_function(std::move(function))
    {
    }

    /// The answer of the callable; what it throws passes through. Throws std::bad_function_call when there is
    /// no callable.
    bool filter(const Record &record) const override { return m_function(record); }

private:
    std::function<bool(const Record &)> m_function;
};

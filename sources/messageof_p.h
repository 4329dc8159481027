// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/text/exceptiontext.h>

#include <QString>

#include <optional>

namespace sito {

/// Calls \a function; the message of what it threw, if anything. What was thrown is gone by then.
template <typename Function>
std::optional<QString> messageOf(Function &&function)
{
    try {
        function();
        return std::nullopt;
    } catch (...) {
        return currentExceptionText().simplified();
    }
}

} // namespace sito

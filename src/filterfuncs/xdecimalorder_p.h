// SPDX-License-Identifier: MIT
#pragma once

#include <data/xdecimal.h>

#include <QtGlobal>

#include <vector>

/// The different numbers among some xdecimals, in ascending order. Their bytes say nothing: equal numbers may
/// have different ones, so that a number is looked up by xdecimal::compare() alone.
class XDecimalOrder
{
public:
    XDecimalOrder() = default;
    explicit XDecimalOrder(std::vector<xdecimal> values);

    /// The rank of the number that equals \a value, from 0; -1 when there is none. Takes time in proportion to
    /// the logarithm of their number.
    qsizetype rankOf(const xdecimal &value) const;

private:
    std::vector<xdecimal> m_values;
};

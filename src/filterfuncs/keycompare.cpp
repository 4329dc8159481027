// SPDX-License-Identifier: MIT
#include <filterfuncs/keycompare_p.h>

std::optional<qint64> keycompare::decimalAtScaleOf(qint64 model, qint64 word)
{
    const decimal number = decimal::fromWord(word);
    qint64 unscaled = number.unscaled();
    // Zero is zero at every scale; any other number is given up after a few digits, one way or the other.
    int digits = unscaled == 0 ? 0 : decimal::fromWord(model).scale() - number.scale();
    for (; digits > 0; --digits) {
        unscaled *= 10;
        if (unscaled < decimal::minUnscaled || unscaled > decimal::maxUnscaled)
            return std::nullopt;
    }
    for (; digits < 0; ++digits) {
        if (unscaled % 10 != 0)
            return std::nullopt;
        unscaled /= 10;
    }
    return qint64((quint64(unscaled) & decimal::valueMask) | (quint64(model) & decimal::scaleMask));
}

// SPDX-License-Identifier: MIT
#include <filterfuncs/keycompare_p.h>

std::optional<qint64> keycompare::decimalAtScaleOf(qint64 model, qint64 word)
{
    const decimal number = decimal::fromWord(word);
    qint64 unscaled = number.unscaled();
    int digits = decimal::fromWord(model).scale() - number.scale();
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

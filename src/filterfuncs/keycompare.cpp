// SPDX-License-Identifier: MIT
#include <filterfuncs/keycompare_p.h>

#include <algorithm>

bool keycompare::sameKey(const Record &record, const Record &key, const QList<int> &columns)
{
    return std::all_of(columns.cbegin(), columns.cend(),
                       [&](int column) { return sameField(record.field(column), key.field(column)); });
}

bool keycompare::equalsAny(const Record &record, const QList<Record> &keys, const QList<int> &columns)
{
    return std::any_of(keys.cbegin(), keys.cend(),
                       [&](const Record &key) { return sameKey(record, key, columns); });
}

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

quint64 keycompare::shortestDecimal(qint64 word)
{
    const decimal number = decimal::fromWord(word);
    qint64 unscaled = number.unscaled();
    int scale = number.scale();
    if (unscaled == 0)
        return 0;
    for (; unscaled % 10 == 0 && scale > decimal::minScale; --scale)
        unscaled /= 10;
    return (quint64(unscaled) & decimal::valueMask) | (quint64(scale & 0x7F) << 56);
}

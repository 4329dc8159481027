// SPDX-License-Identifier: MIT
#include <filterfuncs/xdecimalorder_p.h>

#include <filterfuncs/keycompare_p.h>

#include <algorithm>

XDecimalOrder::XDecimalOrder(const Table *table, const ColumnDef *def, int column, const QList<Record> &keys)
{
    m_values.reserve(size_t(keys.size()));
    for (const Record &key : keys) {
        const Field field = keycompare::fieldAt(table, def, column, key.row());
        if (field.isPresent())
            m_values.push_back(xdecimal::fromData(field.data));
    }
    std::stable_sort(m_values.begin(), m_values.end(),
                     [](const xdecimal &a, const xdecimal &b) { return a.compare(b) < 0; });
    const auto same = [](const xdecimal &a, const xdecimal &b) { return a.compare(b) == 0; };
    m_values.erase(std::unique(m_values.begin(), m_values.end(), same), m_values.end());
}

qsizetype XDecimalOrder::rankOf(const xdecimal &value) const
{
    auto first = m_values.begin();
    auto last = m_values.end();
    while (first != last) {
        const auto middle = first + (last - first) / 2;
        const int order = middle->compare(value);
        if (order == 0)
            return middle - m_values.begin();
        if (order < 0)
            first = middle + 1;
        else
            last = middle;
    }
    return -1;
}

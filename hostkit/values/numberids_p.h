// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/columnids_p.h>
#include <hostkit/values/numbercolumn_p.h>
#include <hostkit/values/wordnumbers_p.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace sito {

/// The ids of numbers and dates; Word is as wide as a value.
template <typename Word>
class NumberIds final : public ColumnIds
{
public:
    NumberIds(Table *table, int column) : ColumnIds(table, column), m_type(table->columnDef(column)->type) {}

    void read(std::span<unsigned char *const> rows, quint32 *ids) override
    {
        for (unsigned char *row : rows)
            *ids++ = NumberIds::idOf(m_table->dataPtr(row, m_column));
    }
    quint32 idOf(const Field &field) override
    {
        return field.isPresent() ? m_numbers.numberOf(field.value<Word>()) + 1 : 0;
    }
    size_t size() const override { return m_numbers.words().size() + 1; }
    std::vector<quint32> absorb(const ColumnIds &other, const parallel::StopToken &stop) override
    {
        const auto &words = static_cast<const NumberIds &>(other).m_numbers.words();
        std::vector<quint32> ids(words.size() + 1);
        for (size_t i = 0; i < words.size(); ++i) {
            if (i % batchSize == 0)
                stop.throwIfStopped();
            ids[i + 1] = m_numbers.numberOf(words[i]) + 1;
        }
        return ids;
    }
    std::unique_ptr<const DistinctColumn> sort(const std::vector<qint64> &counts, std::vector<quint32> &ranks,
                                               const parallel::StopToken &stop) const override
    {
        std::vector<radixsort::Item> items = presentItems();
        sortItems(items, stop);

        const auto word = [this](quint32 id) -> const Word & { return m_numbers.words()[id - 1]; };
        auto column = std::make_unique<NumberColumn<Word>>(m_table, m_column);
        rankRuns(
            items, counts, ranks, [&](quint32 a, quint32 b) { return isEqual(word(a), word(b)); },
            [&](quint32 a, quint32 b) { return word(a) < word(b); },
            [&](quint32 id) { column->append(word(id)); }, stop);
        return column;
    }

private:
    static decimal asDecimal(quint64 word) { return decimal::fromWord(qint64(word)); }
    static double asDouble(quint64 word) { return std::bit_cast<double>(word); }

    bool isEqual(const Word &a, const Word &b) const
    {
        if (a == b)
            return true;
        if constexpr (sizeof(Word) == 4) {
            return false;
        } else if constexpr (sizeof(Word) == 16) {
            return xdecimal::fromData(a.data()).compare(xdecimal::fromData(b.data())) == 0;
        } else {
            if (m_type == FieldType::Double) {
                const double x = asDouble(a);
                const double y = asDouble(b);
                return x == y || (std::isnan(x) && std::isnan(y));
            }
            return m_type == FieldType::Decimal && asDecimal(a).compare(asDecimal(b)) == 0;
        }
    }

    /// Sorts \a items, which have their ids, by the values.
    void sortItems(std::vector<radixsort::Item> &items, const parallel::StopToken &stop) const
    {
        const auto &words = m_numbers.words();
        if constexpr (sizeof(Word) == 16) {
            std::sort(items.begin(), items.end(),
                      [&words, &stop](const radixsort::Item &a, const radixsort::Item &b) {
                          stop.throwIfStopped();
                          return xdecimal::fromData(words[a.id - 1].data())
                                     .compare(xdecimal::fromData(words[b.id - 1].data())) < 0;
                      });
        } else {
            if (m_type == FieldType::Decimal && !haveOneScale()) {
                std::sort(items.begin(), items.end(),
                          [&words, &stop](const radixsort::Item &a, const radixsort::Item &b) {
                              stop.throwIfStopped();
                              return asDecimal(words[a.id - 1]).compare(asDecimal(words[b.id - 1])) < 0;
                          });
                return;
            }
            for (radixsort::Item &item : items)
                item.key = sortKey(words[item.id - 1]);
            radixsort::sort(items);
        }
    }
    bool haveOneScale() const
    {
        const auto &words = m_numbers.words();
        return std::all_of(words.begin(), words.end(), [&words](Word word) {
            return (quint64(word ^ words.front()) & decimal::scaleMask) == 0;
        });
    }
    quint64 sortKey(quint64 word) const
    {
        constexpr quint64 sign = quint64(1) << 63;
        switch (m_type) {
        case FieldType::Int:
            return quint64(qint64(qint32(word))) ^ sign;
        case FieldType::Double: {
            if (std::isnan(asDouble(word)))
                return ~quint64(0);
            if (word == sign) // -0.0
                word = 0;
            return word & sign ? ~word : word | sign;
        }
        default:
            return word ^ sign;
        }
    }

    FieldType::Type m_type;
    WordNumbers<Word> m_numbers;
};

} // namespace sito

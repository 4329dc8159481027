// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/text/valuetext_p.h>
#include <hostkit/values/distinctcolumn_p.h>

#include <cmath>
#include <vector>

namespace sito {

/// A column of numbers or dates; Word is as wide as a value.
template <typename Word>
class NumberColumn final : public DistinctColumn
{
public:
    NumberColumn(Table *table, int column) : DistinctColumn(table, column), m_type(definition()->type) {}

    /// Adds the value behind all others.
    void append(const Word &word) { m_words.push_back(word); }

    quint32 size() const override { return quint32(m_words.size()) + 1; }
    FieldValue value(quint32 rank) const override { return rank == 0 ? absent() : FieldValue(view(rank)); }
    QString text(quint32 rank) const override
    {
        return rank == 0 ? valuetext::shown(absent()) : valuetext::shown(view(rank));
    }
    bool isNaN(quint32 rank) const override
    {
        return rank != 0 && m_type == FieldType::Double && std::isnan(view(rank).template value<double>());
    }

private:
    Field view(quint32 rank) const
    {
        // Nothing writes through the field.
        auto *bytes =
            const_cast<unsigned char *>(reinterpret_cast<const unsigned char *>(&m_words[rank - 1]));
        return Field(definition(), bytes, bytes, 0);
    }

    FieldType::Type m_type;
    std::vector<Word> m_words;
};

} // namespace sito

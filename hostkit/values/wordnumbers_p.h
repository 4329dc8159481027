// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/hashslots_p.h>

#include <QtGlobal>

#include <array>
#include <vector>

namespace sito {

/// The bits of an xdecimal.
using Words128 = std::array<quint64, 2>;

/// Gives words numbers from 0 on, in the order in which they appear.
template <typename Word>
class WordNumbers
{
public:
    quint32 numberOf(const Word &word)
    {
        Slot &slot = m_slots.slot(hashOf(word), [&word](const Slot &other) { return other.word == word; });
        if (!slot.isFree())
            return slot.number - 1;
        m_words.push_back(word);
        const auto number = quint32(m_words.size());
        slot = {word, number};
        m_slots.added([](const Slot &other) { return hashOf(other.word); });
        return number - 1;
    }
    const std::vector<Word> &words() const { return m_words; }

private:
    struct Slot
    {
        Word word = {};
        /// The number plus 1; 0 in a free slot.
        quint32 number = 0;

        bool isFree() const { return number == 0; }
    };

    static constexpr quint64 mixed(quint64 word)
    {
        word *= 0x9E3779B97F4A7C15u;
        return word ^ word >> 32;
    }
    static constexpr size_t hashOf(const Word &word)
    {
        if constexpr (sizeof(Word) == sizeof(Words128))
            return mixed(mixed(word[0]) ^ word[1]);
        else
            return mixed(word);
    }

    HashSlots<Slot> m_slots;
    std::vector<Word> m_words;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <sito_platform_p.h>

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace keywords {

namespace platform = sito::platform;

/// Whether \a word is among the \a Count words at \a words.
template <int Count>
inline bool holds(const quint16 *words, quint16 word)
{
    static_assert(Count % 8 == 0);
    const platform::Lanes wanted = platform::lanesOf(word);
    platform::Lanes found = {};
    for (int i = 0; i < Count; i += 8)
        found = found | platform::equal(platform::loadLanes(words + i), wanted);
    return platform::isAnySet(found);
}

/// Whether one of the eight words at \a words is \a word and the one at the same place of \a others
/// \a otherWord.
inline bool holdsBoth(const quint16 *words, quint16 word, const quint16 *others, quint16 otherWord)
{
    return platform::isAnySet(platform::equal(platform::loadLanes(words), platform::lanesOf(word)) &
                              platform::equal(platform::loadLanes(others), platform::lanesOf(otherWord)));
}

inline quint16 load16(const void *bytes)
{
    quint16 word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline quint64 load64(const void *bytes)
{
    quint64 word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// The lowest four bits of four UTF-16 units, which lie side by side at \a units: they differ between digits,
/// and between most letters of one alphabet.
inline quint16 loadUnits(const void *units)
{
    quint64 four = load64(units) & 0x000F000F000F000Fu;
    four |= four >> 12;
    return quint16((four & 0xFF) | ((four >> 24) & 0xFF00));
}

} // namespace keywords

/// One 16-bit word of each key, side by side, in the order of the keys: a word of a row is looked for among
/// them before whole keys are compared. The words are plain excerpts of the keys, such that equal keys have
/// equal words, and the search looks at every one of them.
class KeyWords
{
public:
    /// So many words are compared without a branch.
    static constexpr qsizetype blockSize = 32;

    KeyWords() = default;
    explicit KeyWords(qsizetype count)
        : m_words(size_t((count + blockSize - 1) / blockSize * blockSize)), m_count(count)
    {
    }

    void set(qsizetype key, quint16 word) { m_words[size_t(key)] = word; }
    /// To be called when every key has its word: fills up the last block with a word that is there anyway.
    void finish()
    {
        if (m_count > 0)
            std::fill(m_words.begin() + m_count, m_words.end(), m_words[size_t(m_count - 1)]);
    }

    bool isEmpty() const { return m_count == 0; }

    /// The first block at or behind \a begin, which is the beginning of a block, that holds \a word: its
    /// beginning, or end().
    qsizetype find(quint16 word, qsizetype begin) const
    {
        const quint16 *words = m_words.data();
        const qsizetype size = end();
        qsizetype block = begin;
        while (block + 4 * blockSize <= size && !keywords::holds<4 * blockSize>(words + block, word))
            block += 4 * blockSize;
        while (block < size && !keywords::holds<blockSize>(words + block, word))
            block += blockSize;
        return block;
    }
    qsizetype end() const { return qsizetype(m_words.size()); }

    /// Whether equal(key) for one of the keys from \a begin on, the beginning of a block, whose word is
    /// \a word.
    template <typename Equal>
    bool anyOf(quint16 word, qsizetype begin, Equal equal) const
    {
        for (qsizetype block = begin; block < end(); block = find(word, block + blockSize)) {
            for (qsizetype eight = block; eight < block + blockSize; eight += 8) {
                if (keywords::holds<8>(m_words.data() + eight, word) && anyOfEight(word, eight, equal))
                    return true;
            }
        }
        return false;
    }
    /// The same where the word in \a others, which has as many keys, is \a otherWord as well.
    template <typename Equal>
    bool anyOf(quint16 word, const KeyWords &others, quint16 otherWord, qsizetype begin, Equal equal) const
    {
        const auto bothEqual = [&](qsizetype key) {
            return others.m_words[size_t(key)] == otherWord && equal(key);
        };
        for (qsizetype eight = begin; eight < end(); eight += 8) {
            if (keywords::holdsBoth(m_words.data() + eight, word, others.m_words.data() + eight, otherWord) &&
                anyOfEight(word, eight, bothEqual))
                return true;
        }
        return false;
    }

private:
    template <typename Equal>
    bool anyOfEight(quint16 word, qsizetype begin, Equal equal) const
    {
        const qsizetype last = std::min(begin + 8, m_count);
        for (qsizetype key = begin; key < last; ++key) {
            if (m_words[size_t(key)] == word && equal(key))
                return true;
        }
        return false;
    }

    std::vector<quint16> m_words;
    qsizetype m_count = 0;
};

/// A sample of different keys, used to judge how well an excerpt tells all keys apart. The keys are chosen by
/// fixed pseudo-random numbers: keys at regular distances would all differ where the keys are sorted.
class KeySample
{
public:
    static constexpr qsizetype largest = 64;

    explicit KeySample(qsizetype keyCount) : m_keyCount(keyCount)
    {
        const bool all = keyCount <= largest;
        const qsizetype count = all ? keyCount : largest;
        quint64 state = 1;
        for (qsizetype i = 0; i < count; ++i) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            m_keys[size_t(i)] = all ? i : qsizetype((state >> 33) % quint64(keyCount));
        }
        std::sort(m_keys.begin(), m_keys.begin() + count);
        m_size = std::unique(m_keys.begin(), m_keys.begin() + count) - m_keys.begin();
    }

    qsizetype size() const { return m_size; }
    /// The key that is the i-th of the sample.
    qsizetype key(qsizetype i) const { return m_keys[size_t(i)]; }

    /// How many other keys share the word of a key, on average and as far as the sample shows; wordOf(i) is
    /// that of its i-th key.
    template <typename WordOf>
    double expectedHits(WordOf wordOf) const
    {
        if (m_size < 2)
            return 0;
        std::array<quint16, largest> words = {};
        int differences = 0;
        for (qsizetype i = 0; i < m_size; ++i) {
            words[size_t(i)] = wordOf(i);
            differences |= words[size_t(i)] ^ words[0];
        }
        if (differences == 0)
            return double(m_keyCount);
        std::sort(words.begin(), words.begin() + m_size);
        int equalPairs = 0;
        int run = 0;
        for (size_t i = 1; i < size_t(m_size); ++i) {
            run = words[i] == words[i - 1] ? run + 1 : 0;
            equalPairs += run;
        }
        return double(m_keyCount) * equalPairs / (double(m_size) * double(m_size - 1) / 2);
    }

private:
    qsizetype m_keyCount;
    qsizetype m_size = 0;
    std::array<qsizetype, largest> m_keys = {};
};

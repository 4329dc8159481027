// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/keywords_p.h>

#include <data/record.h>

#include <QList>

#include <array>
#include <vector>

/// The key bytes of rows, side by side; decides whether a run of bytes is among them. The constructor chooses
/// how to search. Never changes after its construction.
class KeyRuns
{
public:
    /// Copies \a length bytes, a multiple of 8, from each of \a rows, \a offset bytes into the row block.
    KeyRuns(const QList<Record> &rows, quint64 offset, quint64 length);

    /// Whether the bytes at \a run are those of one of the rows.
    bool contains(const unsigned char *run) const
    {
        switch (m_search) {
        case Search::Nothing:
            return false;
        case Search::One8:
            return equal<8>(run, m_only.data());
        case Search::One16:
            return equal<16>(run, m_only.data());
        case Search::One24:
            return equal<24>(run, m_only.data());
        case Search::Word:
            break;
        }
        const quint16 word = excerpt(run);
        const qsizetype block = m_words.find(word, 0);
        return block != m_words.end() && confirm(run, word, block);
    }

private:
    enum class Search : quint8 { Nothing, One8, One16, One24, Word };

    /// The compared excerpt of a run: two bytes, or the lowest bits of four UTF-16 units.
    struct Excerpt
    {
        quint64 offset = 0;
        bool units = false;
    };

    template <int Length>
    static bool equal(const unsigned char *a, const unsigned char *b)
    {
        std::array<quint64, Length / 8> x;
        std::array<quint64, Length / 8> y;
        std::memcpy(x.data(), a, Length);
        std::memcpy(y.data(), b, Length);
        quint64 difference = 0;
        for (size_t i = 0; i < x.size(); ++i)
            difference |= x[i] ^ y[i];
        return difference == 0;
    }

    static quint16 excerptOf(const unsigned char *run, const Excerpt &excerpt)
    {
        const unsigned char *bytes = run + excerpt.offset;
        return excerpt.units ? keywords::loadUnits(bytes) : keywords::load16(bytes);
    }
    quint16 excerpt(const unsigned char *run) const { return excerptOf(run, m_excerpt); }
    Excerpt mostTelling(qsizetype count) const;
    bool confirm(const unsigned char *run, quint16 word, qsizetype block) const;

    Search m_search = Search::Nothing;
    Excerpt m_excerpt;
    /// The run of a single key.
    std::array<unsigned char, 24> m_only = {};
    KeyWords m_words;
    quint64 m_length;
    std::vector<unsigned char> m_runs;
};

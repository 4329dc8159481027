// SPDX-License-Identifier: MIT
#include <filterfuncs/keyruns_p.h>

#include <algorithm>
#include <cstring>

KeyRuns::KeyRuns(const QList<Record> &rows, quint64 offset, quint64 length)
    : m_length(length), m_runs(size_t(rows.size()) * size_t(length))
{
    unsigned char *to = m_runs.data();
    for (const Record &row : rows) {
        std::memcpy(to, row.row() + offset, size_t(length));
        to += length;
    }
    if (rows.isEmpty())
        return;
    if (rows.size() == 1 && length <= m_only.size()) {
        std::memcpy(m_only.data(), m_runs.data(), size_t(length));
        m_search = length == 8 ? Search::One8 : length == 16 ? Search::One16 : Search::One24;
        return;
    }
    m_search = Search::Word;
    m_excerpt = mostTelling(rows.size());
    m_words = KeyWords(rows.size());
    const unsigned char *run = m_runs.data();
    for (qsizetype key = 0; key < rows.size(); ++key, run += length)
        m_words.set(key, excerpt(run));
    m_words.finish();
}

KeyRuns::Excerpt KeyRuns::mostTelling(qsizetype count) const
{
    // A long text tells keys apart well before its end, if at all.
    constexpr quint64 longest = 64;
    const KeySample sample(count);
    const quint64 last = std::min(m_length, longest);
    Excerpt best;
    double fewest = double(count) + 1;
    for (quint64 offset = 0; offset + 2 <= last; ++offset) {
        for (const bool units : {false, true}) {
            // Units begin at even places.
            if (units && (offset % 2 != 0 || offset + 8 > last))
                continue;
            const Excerpt candidate{offset, units};
            const double hits = sample.expectedHits([&](qsizetype i) {
                return excerptOf(m_runs.data() + size_t(sample.key(i)) * size_t(m_length), candidate);
            });
            if (hits < fewest) {
                fewest = hits;
                best = candidate;
            }
        }
        if (fewest <= 0)
            break;
    }
    return best;
}

bool KeyRuns::confirm(const unsigned char *run, quint16 word, qsizetype block) const
{
    const unsigned char *runs = m_runs.data();
    switch (m_length) {
    case 8:
        return m_words.anyOf(word, block, [&](qsizetype key) { return equal<8>(run, runs + key * 8); });
    case 16:
        return m_words.anyOf(word, block, [&](qsizetype key) { return equal<16>(run, runs + key * 16); });
    case 24:
        return m_words.anyOf(word, block, [&](qsizetype key) { return equal<24>(run, runs + key * 24); });
    default:
        return m_words.anyOf(word, block, [&](qsizetype key) {
            return std::memcmp(run, runs + size_t(key) * size_t(m_length), size_t(m_length)) == 0;
        });
    }
}

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/hashslots_p.h>
#include <hostkit/values/columnids_p.h>

#include <QString>

namespace sito {

/// The ids of texts.
class TextIds final : public ColumnIds
{
public:
    TextIds(Table *table, int column);

    void read(std::span<unsigned char *const> rows, quint32 *ids) override;
    quint32 idOf(const Field &field) override;
    size_t size() const override { return m_texts.size() + 1; }
    std::vector<quint32> absorb(const ColumnIds &other, const parallel::StopToken &stop) override;
    std::unique_ptr<const DistinctColumn> sort(const std::vector<qint64> &counts, std::vector<quint32> &ranks,
                                               const parallel::StopToken &stop) const override;

private:
    struct Slot
    {
        quint32 upperHash = 0;
        /// The id; 0 in a free slot.
        quint32 id = 0;

        bool isFree() const { return id == 0; }
    };

    static const QString &stringAt(const Field &field);
    static quint64 hashOf(const QString &text);
    /// A copy of \a text that may outlive the row; the text of a VarChar may refer to it.
    QString kept(const QString &text) const;
    /// The slot of \a text, or a free one for it.
    Slot &slot(const QString &text, quint64 hash);
    /// Adds \a text, which is new, with its free slot; returns its id. \a value is where it is stored.
    quint32 add(Slot &free, const QString &text, quint64 hash, const unsigned char *value);
    /// Where a VarChar is kept; not to be read for a String.
    const unsigned char *valueOf(quint32 id) const { return m_values.data() + (id - 1) * m_valueSize; }
    /// Sorts items whose texts agree in the first \a depth units, and are not shorter than that.
    void sortRun(radixsort::Item *items, size_t count, qsizetype depth, radixsort::Item *spare,
                 const parallel::StopToken &stop) const;

    const bool m_isString;
    /// The bytes that a stored VarChar takes; 0 for Strings.
    const size_t m_valueSize;
    /// The texts of the VarChars that are being read.
    std::vector<QString> m_batch;
    HashSlots<Slot> m_slots;
    /// What the values are compared by.
    std::vector<QString> m_texts;
    /// The VarChars as they are stored, side by side: what they are compared by need not be what they hold.
    std::vector<unsigned char> m_values;
    std::vector<quint64> m_hashes;
};

} // namespace sito

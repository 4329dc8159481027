// SPDX-License-Identifier: MIT
#include <hostkit/values/textids_p.h>

#include <hostkit/values/stringcolumn_p.h>
#include <hostkit/values/varcharcolumn_p.h>

#include <sito_platform_p.h>

#include <QHash>

#include <algorithm>
#include <array>

namespace sito {

namespace {

/// Four units of \a text from \a depth on, zeros behind its end.
quint64 excerpt(const QString &text, qsizetype depth)
{
    const qsizetype size = text.size();
    const QChar *units = text.constData();
    quint64 result = 0;
    for (qsizetype i = depth; i < depth + 4; ++i)
        result = result << 16 | (i < size ? units[i].unicode() : 0u);
    return result;
}

} // namespace

TextIds::TextIds(Table *table, int column)
    : ColumnIds(table, column),
      m_isString(table->columnDef(column)->type == FieldType::String),
      m_valueSize(m_isString ? 0 : size_t(table->columnDef(column)->size)),
      m_batch(m_isString ? 0 : batchSize)
{
}

const QString &TextIds::stringAt(const Field &field)
{
    return *reinterpret_cast<const QString *>(field.data);
}

quint64 TextIds::hashOf(const QString &text)
{
    return qHashBits(text.constData(), size_t(text.size()) * sizeof(QChar), 0x5170);
}

QString TextIds::kept(const QString &text) const
{
    return m_isString ? text : QString(text.constData(), text.size());
}

void TextIds::read(std::span<unsigned char *const> rows, quint32 *ids)
{
    // Texts lie anywhere in memory: all of a batch are asked for before the first is needed.
    std::array<const QString *, batchSize> texts;
    std::array<const unsigned char *, batchSize> values;
    std::array<quint64, batchSize> hashes;
    for (size_t i = 0; i < rows.size(); ++i) {
        const Field field = m_table->dataPtr(rows[i], m_column);
        ids[i] = field.isPresent();
        if (ids[i] == 0)
            continue;
        texts[i] = m_isString ? &stringAt(field) : &(m_batch[i] = field.asStaticString());
        values[i] = field.data;
        platform::prefetch(texts[i]->constData());
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        if (ids[i] == 0)
            continue;
        hashes[i] = hashOf(*texts[i]);
        m_slots.prefetch(hashes[i]);
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        if (ids[i] == 0)
            continue;
        Slot &known = slot(*texts[i], hashes[i]);
        ids[i] = known.isFree() ? add(known, kept(*texts[i]), hashes[i], values[i]) : known.id;
    }
}

quint32 TextIds::idOf(const Field &field)
{
    if (!field.isPresent())
        return 0;
    const QString text = m_isString ? stringAt(field) : field.asStaticString();
    const quint64 hash = hashOf(text);
    Slot &known = slot(text, hash);
    return known.isFree() ? add(known, kept(text), hash, field.data) : known.id;
}

TextIds::Slot &TextIds::slot(const QString &text, quint64 hash)
{
    const auto upper = quint32(hash >> 32);
    return m_slots.slot(hash, [&](const Slot &other) {
        if (other.upperHash != upper)
            return false;
        const QString &own = m_texts[other.id - 1];
        return own.size() == text.size() && (own.constData() == text.constData() || own == text);
    });
}

quint32 TextIds::add(Slot &free, const QString &text, quint64 hash, const unsigned char *value)
{
    m_texts.push_back(text);
    m_values.insert(m_values.end(), value, value + m_valueSize);
    m_hashes.push_back(hash);
    const auto id = quint32(m_texts.size());
    free = {quint32(hash >> 32), id};
    m_slots.added([this](const Slot &other) { return m_hashes[other.id - 1]; });
    return id;
}

std::vector<quint32> TextIds::absorb(const ColumnIds &other, const parallel::StopToken &stop)
{
    const auto &from = static_cast<const TextIds &>(other);
    std::vector<quint32> ids(from.size());
    for (quint32 id = 1; id < ids.size(); ++id) {
        if (id % batchSize == 0)
            stop.throwIfStopped();
        const QString &text = from.m_texts[id - 1];
        const quint64 hash = from.m_hashes[id - 1];
        Slot &known = slot(text, hash);
        ids[id] = known.isFree() ? add(known, text, hash, from.valueOf(id)) : known.id;
    }
    return ids;
}

std::unique_ptr<const DistinctColumn> TextIds::sort(const std::vector<qint64> &counts,
                                                    std::vector<quint32> &ranks,
                                                    const parallel::StopToken &stop) const
{
    std::vector<radixsort::Item> items = presentItems();
    std::vector<radixsort::Item> spare(items.size());
    sortRun(items.data(), items.size(), 0, spare.data(), stop);

    const auto rank = [&](const auto &take) {
        const auto never = [](quint32, quint32) { return false; };
        rankRuns(items, counts, ranks, never, never, take, stop);
    };
    if (m_isString) {
        auto column = std::make_unique<StringColumn>(m_table, m_column);
        rank([&](quint32 id) { column->append(m_texts[id - 1]); });
        return column;
    }
    auto column = std::make_unique<VarCharColumn>(m_table, m_column);
    rank([&](quint32 id) { column->append(valueOf(id)); });
    return column;
}

void TextIds::sortRun(radixsort::Item *items, size_t count, qsizetype depth, radixsort::Item *spare,
                      const parallel::StopToken &stop) const
{
    constexpr size_t fewTexts = 8;
    constexpr qsizetype deepEnough = 200;
    const auto text = [this](const radixsort::Item &item) -> const QString & { return m_texts[item.id - 1]; };
    stop.throwIfStopped();
    if (count <= fewTexts || depth > deepEnough) {
        std::sort(items, items + count, [&](const radixsort::Item &a, const radixsort::Item &b) {
            return QString::compare(text(a), text(b), Qt::CaseSensitive) < 0;
        });
        return;
    }
    for (size_t i = 0; i < count; ++i)
        items[i].key = excerpt(text(items[i]), depth);
    radixsort::sort(items, count, spare);
    for (size_t begin = 0; begin < count;) {
        size_t end = begin + 1;
        while (end < count && items[end].key == items[begin].key)
            ++end;
        if (end - begin > 1) {
            // Texts that end here differ in the number of U+0000 at their end, and sort before longer ones.
            radixsort::Item *const longer =
                std::partition(items + begin, items + end,
                               [&](const radixsort::Item &item) { return text(item).size() <= depth + 4; });
            std::sort(items + begin, longer, [&](const radixsort::Item &a, const radixsort::Item &b) {
                return text(a).size() < text(b).size();
            });
            sortRun(longer, size_t(items + end - longer), depth + 4, spare, stop);
        }
        begin = end;
    }
}

} // namespace sito

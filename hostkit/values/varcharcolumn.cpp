// SPDX-License-Identifier: MIT
#include <hostkit/values/varcharcolumn_p.h>

#include <hostkit/text/valuetext_p.h>

#include <cstring>

namespace sito {

namespace {

/// The bytes from one value to the next, aligned as in a row.
size_t strideOf(const ColumnDef &def)
{
    return (size_t(def.size) + 7) / 8 * 8;
}

} // namespace

void VarCharColumn::append(const unsigned char *data)
{
    const size_t place = m_values.size();
    m_values.resize(place + strideOf(*definition()));
    std::memcpy(m_values.data() + place, data, size_t(definition()->size));
}

quint32 VarCharColumn::size() const
{
    return quint32(m_values.size() / strideOf(*definition())) + 1;
}

FieldValue VarCharColumn::value(quint32 rank) const
{
    return rank == 0 ? absent() : FieldValue(view(rank));
}

QString VarCharColumn::text(quint32 rank) const
{
    return rank == 0 ? valuetext::shown(absent()) : valuetext::shown(view(rank));
}

Field VarCharColumn::view(quint32 rank) const
{
    // Nothing writes through the field.
    auto *data = const_cast<unsigned char *>(&m_values[(rank - 1) * strideOf(*definition())]);
    return Field(definition(), data, data, 0);
}

} // namespace sito

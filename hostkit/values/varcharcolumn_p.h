// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctcolumn_p.h>

#include <vector>

namespace sito {

/// A column of VarChars, kept as they are stored: how a text lies in one is the database library's own.
class VarCharColumn final : public DistinctColumn
{
public:
    using DistinctColumn::DistinctColumn;

    /// Adds the value stored at \a data behind all others.
    void append(const unsigned char *data);

    quint32 size() const override;
    FieldValue value(quint32 rank) const override;
    QString text(quint32 rank) const override;
    bool isNaN(quint32) const override { return false; }

private:
    Field view(quint32 rank) const;

    std::vector<unsigned char> m_values;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/distinctcolumn_p.h>

#include <vector>

namespace sito {

/// A column of Strings.
class StringColumn final : public DistinctColumn
{
public:
    using DistinctColumn::DistinctColumn;

    /// Adds the value behind all others.
    void append(const QString &text) { m_texts.push_back(text); }

    quint32 size() const override { return quint32(m_texts.size()) + 1; }
    FieldValue value(quint32 rank) const override;
    QString text(quint32 rank) const override;
    bool isNaN(quint32) const override { return false; }

private:
    std::vector<QString> m_texts;
};

} // namespace sito

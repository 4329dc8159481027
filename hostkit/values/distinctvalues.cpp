// SPDX-License-Identifier: MIT
#include <hostkit/values/distinctvalues_p.h>

#include <hostkit/text/valuetext_p.h>

#include <QStringList>

#include <algorithm>
#include <utility>

namespace sito {

DistinctValues::DistinctValues(Content content) : m_content(std::move(content)) {}

DistinctValues::~DistinctValues() = default;

KeyValue DistinctValues::key(qsizetype index) const
{
    KeyValue key;
    key.reserve(qsizetype(m_content.columns.size()));
    for (size_t column = 0; column < m_content.columns.size(); ++column)
        key.append(field(index, column));
    return key;
}

QString DistinctValues::text(qsizetype index) const
{
    const quint32 *rank = ranks(index);
    if (m_content.columns.size() == 1)
        return m_content.columns.front()->text(*rank);
    QStringList fields;
    for (const auto &column : m_content.columns)
        fields.append(column->text(*rank++));
    return valuetext::joined(fields);
}

bool DistinctValues::isKey(qsizetype index) const
{
    const quint32 *rank = ranks(index);
    return std::none_of(m_content.columns.begin(), m_content.columns.end(),
                        [&rank](const auto &column) { return column->isNaN(*rank++); });
}

bool DistinctValues::isUnwritten(qsizetype index) const
{
    return m_content.columns.size() == 1 && valuetext::isUnwritten(field(index, 0));
}

FieldValue DistinctValues::field(qsizetype index, size_t column) const
{
    return m_content.columns[column]->value(ranks(index)[column]);
}

} // namespace sito

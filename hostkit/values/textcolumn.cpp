// SPDX-License-Identifier: MIT
#include <hostkit/values/textcolumn_p.h>

#include <hostkit/text/valuetext_p.h>

namespace sito {

FieldValue TextColumn::value(quint32 rank) const
{
    FieldValue result = absent();
    if (rank == 0)
        return result;
    const QString &text = m_texts[rank - 1];
    if (result.def->type == FieldType::String)
        result.storeString(text);
    else
        FieldType::stringToVarChar(result.data, result.def->length, text);
    result.setPresent();
    return result;
}

QString TextColumn::text(quint32 rank) const
{
    return rank == 0 ? valuetext::shown(absent()) : valuetext::shownText(m_texts[rank - 1]);
}

} // namespace sito

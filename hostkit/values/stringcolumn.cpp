// SPDX-License-Identifier: MIT
#include <hostkit/values/stringcolumn_p.h>

#include <hostkit/text/valuetext_p.h>

namespace sito {

FieldValue StringColumn::value(quint32 rank) const
{
    FieldValue result = absent();
    if (rank == 0)
        return result;
    result.storeString(m_texts[rank - 1]);
    result.setPresent();
    return result;
}

QString StringColumn::text(quint32 rank) const
{
    return rank == 0 ? valuetext::shown(absent()) : valuetext::shownText(m_texts[rank - 1]);
}

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <data/columndef.h>

#include <QString>

/// How many bytes of a Raw or Block value count.
inline qsizetype rawWidth(const ColumnDef &def)
{
    return def.type == FieldType::Raw && def.length > 0 ? def.length : qsizetype(def.size);
}

/// A text that shares no memory with \a text.
inline QString deepCopy(const QString &text)
{
    return QString(text.constData(), text.size());
}

/// Fills the storage of an absent or zero value of \a def, behind which there is no QString.
void clearValue(unsigned char *data, const ColumnDef &def);

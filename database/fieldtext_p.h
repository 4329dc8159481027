// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>

/// The bytes of a Raw or Block value that count: all except the filler of a Raw column with larger storage.
inline qsizetype rawWidth(const ColumnDef &def)
{
    const bool filled = def.type == FieldType::Raw && def.length > 0 && quint64(def.length) < def.size;
    return filled ? def.length : qsizetype(def.size);
}

/// The text of a field that is present, of any type.
QString presentFieldText(const Field &field);

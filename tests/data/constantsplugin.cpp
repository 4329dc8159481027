// SPDX-License-Identifier: MIT
#include <data/fieldconstvalue.h>

// A library like those of hosts that are compiled without hiding anything.

/// The text of the first constant, which shares the constant's own memory.
extern "C" Q_DECL_EXPORT void copyFirstConstant(QString *text)
{
    *text = *reinterpret_cast<const QString *>(fieldCharacters[0].data);
}

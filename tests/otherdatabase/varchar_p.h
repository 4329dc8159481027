// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

/// How a VarChar of a capacity of \a length UTF-16 units is stored: one to three bytes per unit, as UTF-8
/// has them, so that halves of surrogate pairs keep their value; U+0000 in two bytes, so that a zero byte
/// can end the text; behind it 0xFF up to the end.
namespace varchar {

constexpr quint64 storageSize(int length)
{
    return quint64(length) * 3 + 1;
}

/// The text from the beginning to the zero byte.
QString read(const unsigned char *buffer, int length);

} // namespace varchar

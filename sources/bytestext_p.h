// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QMetaType>
#include <QString>

namespace sito {

/// Bytes that are shown as a text, of which only the first were read.
struct BytesStart
{
    /// How many of them are shown.
    static constexpr int shown = 16;

    qint64 size = 0;
    /// At least the first bytes that are shown, where there are so many.
    QByteArray bytes = {};

    /// "19 bytes: 89 50 4e 47…", in the language of the program.
    QString text() const;
};

/// \a bytes of UTF-8 as text. Bytes that are none are shown each as "\xE9", so that texts stay apart.
QString textOfUtf8(QByteArrayView bytes);

} // namespace sito

Q_DECLARE_METATYPE(sito::BytesStart)

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QVariant>

namespace sito {

/// Reads and writes the texts of an INI file as QSettings does: it writes the same bytes, and reads the same
/// value from every text.
///
/// **Threads.** May be called from any thread.
///
/// **Cost.** Grows with the length of the text.
class HOSTKIT_EXPORT IniCodec
{
public:
    /// The name of a key as it stands in a file: "a b/c" is `a%20b\c`.
    static QByteArray keyText(const QString &key);
    /// The key that \a text names. Every text names a key.
    static QString key(QByteArrayView text);

    /// The head of the section \a section, a first part of paths, or of what has none when it is empty:
    /// "[General]".
    static QByteArray headText(const QString &section);
    /// What all paths below the head \a text, a line that begins with "[", begin with: the section and a
    /// slash, or nothing.
    static QString prefix(QByteArrayView text);

    /// The text of \a value. A type without a text of its own is written as QDataStream does it.
    static QByteArray valueText(const QVariant &value);
    /// The value of \a text: a text, a list of texts, or what an "@Type(…)" says. Invalid for values that
    /// cannot be read, for example those of types that this program does not have.
    static QVariant value(QByteArrayView text);
};

} // namespace sito

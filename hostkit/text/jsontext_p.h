// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace sito {

/// JSON texts that lose nothing of their strings, halves of surrogate pairs included.
namespace jsontext {

/// Appends \a text in quotes.
void appendString(QString &json, const QString &text);

/// The array of \a texts.
QString fromStrings(const QStringList &texts);

/// The array that \a json holds. Throws Exception with the reason when it holds none.
QJsonArray readArray(const QString &json);

/// The strings of the array \a json. Throws Exception when it is something else.
QStringList readStrings(const QString &json);

} // namespace jsontext

} // namespace sito

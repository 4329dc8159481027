// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>

#include <QString>
#include <QStringList>

class ValueFilter;

namespace sito {

/// How values are shown in lists of values, in the current language. May be called from any thread.
namespace valuetext {

/// The value of \a field in one line: its text, with marks for line breaks and other control characters, and
/// a word in brackets for an absent value, an empty text and a DateTime that is no date.
QString shown(const Field &field);
/// The same for a present text.
QString shownText(const QString &text);
/// The fields of \a key, joined.
QString shown(const KeyValue &key);
/// Whether shown() gives a word in brackets because \a field has no text of its own.
bool isUnwritten(const Field &field);

/// The texts of the fields of one key, joined.
QString joined(const QStringList &fields);
/// The first keys of \a filter as its keyToText() shows them, and how many more there are.
QString summary(const ValueFilter &filter);

} // namespace valuetext

} // namespace sito

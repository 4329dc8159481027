// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

class ValueFilter;

namespace sito {

/// The keys of \a filter as a JSON text from which keysFromJson() makes the same keys again, whatever they
/// hold: an array of keys in their order, each an array with one entry per field. An absent value is null,
/// every other a text: that of FieldValue::toText(), but a VarChar or a String as it is, without marks.
///
/// Characters that are not for the eye (control and format characters, line separators, halves of surrogate
/// pairs) are written as \\uXXXX, so that the text survives every store.
HOSTKIT_EXPORT QString keysToJson(const ValueFilter &filter);

/// Makes the keys that keysToJson() wrote the whole set of \a filter. Their fields have the types of the
/// columns of \a filter, whatever they had before.
///
/// Throws Exception, and changes nothing then, for a text that is no such JSON, for a Raw or Block column,
/// for a key with another number of fields than there are columns, and for a value that its column cannot
/// hold (the rules of ColumnsFilter::valueToKey(), but a Double may be "nan"); the message names column and
/// value.
HOSTKIT_EXPORT void keysFromJson(ValueFilter &filter, const QString &json);

} // namespace sito

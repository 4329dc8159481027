// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

#include <optional>

class Field;

namespace sito {

/// The value of \a field as text, or nothing when it is absent. The text is exact and the same in every time
/// zone. Texts stay as they are, without the marks of FieldValue::toText(). May be called from any thread.
HOSTKIT_EXPORT std::optional<QString> cellText(const Field &field);

/// \a text as a field of a CSV file: in quotes where they are needed. An absent text gives an empty field, an
/// empty text a pair of quotes. May be called from any thread.
HOSTKIT_EXPORT QString csvField(const std::optional<QString> &text);

} // namespace sito

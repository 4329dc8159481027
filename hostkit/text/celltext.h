// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

#include <optional>

class Field;

namespace sito {

/// The value of \a field as text, exact and the same in every time zone, or nothing for an absent one. Texts
/// are as they are, without the marks of FieldValue::toText(). May be called from any thread.
HOSTKIT_EXPORT std::optional<QString> cellText(const Field &field);

/// \a text as a field of a CSV file: in quotes where it could be misread without them; an absent one is
/// empty, an empty text a pair of quotes. May be called from any thread.
HOSTKIT_EXPORT QString csvField(const std::optional<QString> &text);

} // namespace sito

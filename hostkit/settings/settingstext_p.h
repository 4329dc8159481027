// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <optional>

namespace sito::SettingsText {

/// The texts in which values are edited, one form per type. They are exact both ways and the same in every
/// locale. The text of a font alone leaves a part of the value out.

/// Returns whether values of \a type have a text.
bool isKnown(QMetaType type);
/// Returns the text of \a value, and an empty one when its type is not known.
QString fromValue(const QVariant &value);
/// Reads \a text as a value of the type of \a old; what the text leaves out is taken from \a old. Returns
/// nothing, and why in \a problem, when \a text is no such value.
std::optional<QVariant> toValue(const QVariant &old, const QString &text, QString *problem);

/// Returns whether \a value is a list, of texts or of anything.
inline bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList || value.typeId() == QMetaType::QVariantList;
}

} // namespace sito::SettingsText

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QModelIndex>
#include <QString>
#include <QVariant>

namespace sito {

/// The value behind \a index, of the type it really has. Looks through proxies; for the value column of a
/// SettingsModel it is the key's value itself, a list as the list, where the model's roles answer with the
/// items joined. For any other index what it answers for `Qt::EditRole`. Below a SettingsViewProxy it belongs to
/// what that shows, at any moment, in slots of the notifications too.
HOSTKIT_EXPORT QVariant settingsValue(const QModelIndex &index);

/// Where the row of \a index is in its store: the names of the groups around it and its own, joined by "/", as
/// QSettings takes them while it has the current group that the model was made in. Looks through proxies that
/// show the names in column 0. The tool tip of a SettingsModel, made for people, tells otherwise for some names
/// that hold "%". A row that has no name yet, while the model merges a store, ends in "/".
HOSTKIT_EXPORT QString settingsPath(const QModelIndex &index);

/// \a value on one line, for people: "Да" and "Нет", dates in ISO form, items of lists parted by ", " and
/// quoted where they would be misread, control characters made visible. Cut after some hundred characters.
/// Not meant to be read back.
HOSTKIT_EXPORT QString settingsValueText(const QVariant &value);

/// Whether both have the same type and are the same down to the last bit: unlike `==`, NaN equals itself, 0
/// and -0 differ, numbers of sizes and points are not rounded, and times of the same instant in different
/// zones differ.
HOSTKIT_EXPORT bool isSameSettingsValue(const QVariant &left, const QVariant &right);

} // namespace sito

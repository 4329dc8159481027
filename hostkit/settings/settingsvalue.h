// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QModelIndex>
#include <QString>
#include <QVariant>

namespace sito {

/// Returns the value behind \a index in its own type. Looks through proxies. For the value column of a
/// SettingsModel this is the key's value itself: a list is a list, where the model's roles return its items
/// joined. For any other index it is what the index returns for `Qt::EditRole`. Below a SettingsViewProxy the
/// value always belongs to what the proxy shows, also in slots of its notifications.
HOSTKIT_EXPORT QVariant settingsValue(const QModelIndex &index);

/// Returns where the row of \a index is in its store: the names of the groups around it and its own, joined
/// by "/". It is a key of QSettings below the group that was current when the model was filled. Looks through
/// proxies: a SettingsViewProxy among them answers with its `PathRole`, else all must show the names in
/// column 0. (The tool tip of a SettingsModel differs from the path for some names with "%".) The path of a
/// row that has no name yet, while the model merges a store, ends in "/".
HOSTKIT_EXPORT QString settingsPath(const QModelIndex &index);

/// Returns \a value on one line, for people: "Да" and "Нет", dates in ISO form, items of lists separated by
/// ", " and quoted where they would be misread, control characters as visible signs. Cut after some hundred
/// characters. Not meant to be read back.
HOSTKIT_EXPORT QString settingsValueText(const QVariant &value);

/// Returns whether both have the same type and are the same down to the last bit. Unlike with `==`, NaN
/// equals itself, 0 and -0 differ, numbers of sizes and points are not rounded, and times of the same instant
/// in different zones differ.
HOSTKIT_EXPORT bool isSameSettingsValue(const QVariant &left, const QVariant &right);

} // namespace sito

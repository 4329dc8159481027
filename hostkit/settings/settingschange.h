// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

namespace sito {

/// One change of a settings store: the edit of a key, or the removal of an entry and all below it.
struct SettingsChange
{
    QString path;
    bool removal = false; ///< else an edit
    bool group = false;   ///< whether the removed entry is a group
    QVariant oldValue;    ///< the store's; none for groups
    QVariant newValue;    ///< the wanted one; none for removals
    bool gone = false;    ///< whether the edited entry is gone from the store: a write creates it again

    /// Whether the entry of \a other is changed.
    bool concerns(const QString &other) const
    {
        return other == path || (removal && other.startsWith(path + u'/'));
    }
};

} // namespace sito

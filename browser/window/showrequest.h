// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/keyoption.h>

#include <QList>
#include <QString>
#include <QStringList>

namespace sito {

/// What to show once a source is open.
struct ShowRequest
{
    /// Empty: the table that was shown last, or else the first one.
    QString table = {};
    /// Filters in the place of those that were kept for the table, unless one of them is wrong. They are for
    /// this time: what was kept stays so until the user changes the filters.
    QList<KeyOption> keyOptions = {};
    QStringList sessionColumns = {};

    bool hasFilters() const { return !keyOptions.isEmpty() || !sessionColumns.isEmpty(); }
};

} // namespace sito

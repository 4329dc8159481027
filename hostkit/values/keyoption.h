// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class Table;
class ValueFilter;

namespace sito {

/// An option of a command line that excludes or keeps keys.
struct KeyOption
{
    /// Whether the rows with these keys are shown alone; otherwise they are hidden.
    bool keep = false;
    /// The names of the columns of the keys.
    QStringList columns;
    /// One or more keys as ValueFilter::setValue() reads them; not empty.
    QString keys;
};

/// The filters over \a table that \a options and \a sessionColumns ask for, all of them switched on: a
/// ValueListFilter for keys to exclude and a ShowOnlyFilter for keys to keep, one for all options of one kind
/// over the same columns, and behind them a SecuritiesSessionFilter over \a sessionColumns, unless that is
/// empty.
///
/// Throws Exception for columns that \a table does not have or that are named twice in an option, for Raw and
/// Block columns, and for keys that are no values of the columns; also what SecuritiesSessionFilter throws.
HOSTKIT_EXPORT std::vector<std::unique_ptr<ValueFilter>>
filtersFromOptions(Table &table, const QList<KeyOption> &options, const QStringList &sessionColumns = {});

} // namespace sito

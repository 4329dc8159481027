// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

class QHeaderView;

namespace sito {

class TableModel;

/// Order, width and visibility of the columns of a view over a TableModel, and its sorting, as a text in which
/// columns are known by their names: it can be restored for a table that has gained, lost or moved columns. The
/// text is JSON, in one line. For the GUI thread.
namespace HeaderLayout {

HOSTKIT_EXPORT QString toText(const QHeaderView &header, const TableModel &model);

/// Applies what \a text says of the columns that there are, and the sorting; other columns stay behind them. A
/// text that is none leaves the columns as they are and clears the sorting. At least one column stays shown.
HOSTKIT_EXPORT void restore(QHeaderView &header, TableModel &model, const QString &text);

} // namespace HeaderLayout

} // namespace sito

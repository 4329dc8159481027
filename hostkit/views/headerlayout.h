// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

class QHeaderView;

namespace sito {

class TableModel;

/// Saves and restores the order, width and visibility of the columns of a view over a TableModel, and its
/// sorting. The text is JSON in one line. It holds columns by name, so it can be restored for a table that
/// has gained, lost or moved columns. For the GUI thread.
namespace HeaderLayout {

/// The layout of \a header, whose view shows \a model, for restore().
HOSTKIT_EXPORT QString toText(const QHeaderView &header, const TableModel &model);

/// Applies \a text to the columns that exist, and the sorting. Columns that \a text does not name come behind
/// the others. A text that cannot be read leaves the columns as they are and clears the sorting. At least one
/// column stays shown.
HOSTKIT_EXPORT void restore(QHeaderView &header, TableModel &model, const QString &text);

} // namespace HeaderLayout

} // namespace sito

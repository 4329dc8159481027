// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QObject>
#include <QPointer>

#include <vector>

class QTableView;

namespace sito {

class TableModel;

/// Keeps the place of a QTableView over a TableModel when the model shows the result of a pass.
///
/// **Scroll place.** The topmost visible row that survives stays where it was. When none of the visible rows
/// does, the nearest surviving row comes to the top, first of those below, then of those above. A view that
/// stands at its very top stays there, so that rows that come back at the top are seen.
///
/// **Current index.** When its row vanishes, the nearest surviving row becomes current, first of those below,
/// then of those above, in the same column; nothing is selected and nothing scrolls by that.
///
/// **Selection.** It stays with its rows. Qt follows every selected row by itself, which takes seconds for hundreds
/// of thousands of them: a selection of more than 2000 rows is taken away while the rows move and made anew afterwards,
/// with selectionChanged() for both. A view also looks at all pieces of a selection for each cell that it paints, so
/// that one which would fall into more than 2000 pieces is given up, but for the current row; selectionDropped()
/// tells of it.
class HOSTKIT_EXPORT ViewAnchor : public QObject
{
    Q_OBJECT
public:
    /// Becomes a child of \a view, whose model must be \a model itself; does nothing while it is not.
    ViewAnchor(QTableView *view, TableModel *model);
    ~ViewAnchor() override;

Q_SIGNALS:
    void selectionDropped();

private:
    /// Selected cells, by the rows as they will be after the pass.
    struct Piece
    {
        int firstRow;
        int lastRow;
        int firstColumn;
        int lastColumn;
    };

    void remember();
    void takeSelection();
    void giveSelectionBack();
    void restore();
    int nearestSurvivor(int row) const;
    void moveCurrent();

    QTableView *const m_view;
    const QPointer<TableModel> m_model;
    /// The row to keep in place, as it will be after the pass; -1 when the view stays as it is.
    int m_row = -1;
    /// Where the row stands below the top of the viewport.
    int m_offset = 0;
    /// The selection while it is taken away.
    std::vector<Piece> m_pieces;
    bool m_isTaken = false;
    bool m_isDropped = false;
};

} // namespace sito

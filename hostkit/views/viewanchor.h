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
/// **Scroll position.** The topmost visible row that is still shown keeps its place. When none of the
/// visible rows is, the nearest shown row below comes to the top, or else the nearest one above. A view
/// that is at its very top stays there, so that rows that return at the top are visible.
///
/// **Current index.** When its row disappears, the nearest shown row below becomes current, or else the
/// nearest one above, in the same column. This neither selects nor scrolls.
///
/// **Selection.** It stays with its rows. Qt tracks each selected row by itself, which takes seconds for
/// hundreds of thousands of them. So a selection of more than 2000 rows is removed while the rows move and
/// made again afterwards; selectionChanged() is emitted for both. A view also looks at all ranges of a
/// selection for each cell that it paints. So a selection that would split into more than 2000 ranges is
/// dropped except for the current row, and selectionDropped() is emitted.
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** At each pass a look at the rows from the visible ones to the nearest that stay, and at each
/// selected row when there are more than 2000.
class HOSTKIT_EXPORT ViewAnchor : public QObject
{
    Q_OBJECT
public:
    /// Becomes a child of \a view. Works only while the model of \a view is \a model itself, not a proxy over
    /// it.
    ViewAnchor(QTableView *view, TableModel *model);
    ~ViewAnchor() override;

Q_SIGNALS:
    /// Emitted when a selection was dropped, so that the host can tell the user.
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
    /// The distance of that row from the top of the viewport, in pixels.
    int m_offset = 0;
    /// The selection while it is removed from the view.
    std::vector<Piece> m_pieces;
    bool m_isTaken = false;
    bool m_isDropped = false;
};

} // namespace sito

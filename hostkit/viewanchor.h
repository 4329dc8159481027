// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QObject>
#include <QPointer>

class QTableView;
class TableModel;

/// Keeps the place of a QTableView over a TableModel when the model shows the result of a pass.
///
/// **Scroll place.** The topmost visible row that survives stays where it was. When none of the visible rows
/// does, the nearest surviving row comes to the top, first of those below, then of those above. A view that
/// stands at its very top stays there, so that rows that come back at the top are seen.
///
/// **Current index.** When its row vanishes, the nearest surviving row becomes current, first of those below,
/// then of those above, in the same column; nothing is selected and nothing scrolls by that.
class HOSTKIT_EXPORT ViewAnchor : public QObject
{
    Q_OBJECT
public:
    /// Becomes a child of \a view, whose model must be \a model itself; does nothing while it is not.
    ViewAnchor(QTableView *view, TableModel *model);
    ~ViewAnchor() override;

private:
    void remember();
    void restore();
    int nearestSurvivor(int row) const;
    void moveCurrent();

    QTableView *const m_view;
    const QPointer<TableModel> m_model;
    /// The row to keep in place, as it will be after the pass; -1 when the view stays as it is.
    int m_row = -1;
    /// Where the row stands below the top of the viewport.
    int m_offset = 0;
};

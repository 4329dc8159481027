// SPDX-License-Identifier: MIT
#include <browser/settings/treeanchor.h>

#include <QScrollBar>
#include <QTreeView>

namespace sito {

TreeAnchor::TreeAnchor(QTreeView *view) : m_view(view)
{
    for (QModelIndex index = view->indexAt(QPoint(0, 0)); index.isValid(); index = view->indexBelow(index)) {
        const int top = view->visualRect(index).top();
        if (top > view->viewport()->height())
            break;
        m_rows.append({index, top});
    }
}

TreeAnchor::~TreeAnchor()
{
    for (const Row &row : m_rows) {
        if (!row.index.isValid())
            continue;
        QScrollBar *bar = m_view->verticalScrollBar();
        // Brings the layout up to date before the bar gets its new value.
        const int top = m_view->visualRect(row.index).top();
        bar->setValue(bar->value() + top - row.top);
        return;
    }
}

} // namespace sito

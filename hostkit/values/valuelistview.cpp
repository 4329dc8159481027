// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistview_p.h>

#include <hostkit/values/valuelistdelegate_p.h>
#include <hostkit/values/valuelistmodel_p.h>

#include <QCursor>
#include <QItemSelectionModel>
#include <QPersistentModelIndex>
#include <QScrollBar>

namespace sito {

ValueListView::ValueListView(QWidget *parent) : QListView(parent)
{
    setItemDelegate(new ValueListDelegate(this));
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabKeyNavigation(false);
}

void ValueListView::keyboardSearch(const QString &text)
{
    Q_EMIT typed(text);
}

void ValueListView::toggleSelected()
{
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return;
    QList<int> rows;
    for (const QItemSelectionRange &range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    if (!rows.contains(current.row()))
        rows = {current.row()};
    auto *values = static_cast<ValueListModel *>(model());
    values->setChecked(rows, !values->isChecked(values->numberAt(current.row())));
}

void ValueListView::setCurrentRow(int row)
{
    setCurrentIndex(model()->index(row, 0));
    clearSelection();
}

void ValueListView::keepPlace(const std::function<void()> &change)
{
    QPersistentModelIndex kept;
    if (viewport()->underMouse())
        kept = indexAt(viewport()->mapFromGlobal(QCursor::pos()));
    if (!kept.isValid())
        kept = indexAt(viewport()->rect().topLeft());
    const int before = visualRect(kept).top();
    change();
    // Now, since the scroll bar learns of the rows by it.
    doItemsLayout();
    if (!kept.isValid())
        return;
    const QRect now = visualRect(kept);
    const int step = verticalScrollMode() == ScrollPerItem ? now.height() : 1;
    verticalScrollBar()->setValue(verticalScrollBar()->value() + (now.top() - before) / step);
}

} // namespace sito

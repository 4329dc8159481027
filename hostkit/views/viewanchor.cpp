// SPDX-License-Identifier: MIT
#include <hostkit/views/viewanchor.h>

#include <hostkit/table/tablemodel.h>

#include <QHeaderView>
#include <QScrollBar>
#include <QTableView>

#include <algorithm>
#include <map>
#include <utility>

namespace sito {

namespace {

constexpr qsizetype manyRows = 2000;
constexpr size_t manyPieces = 2000;

} // namespace

ViewAnchor::ViewAnchor(QTableView *view, TableModel *model) : QObject(view), m_view(view), m_model(model)
{
    connect(model, &TableModel::aboutToShow, this, &ViewAnchor::remember);
    connect(model, &TableModel::passFinished, this, &ViewAnchor::restore);
    connect(model, &TableModel::changesShown, this, &ViewAnchor::restore);
}

ViewAnchor::~ViewAnchor() = default;

void ViewAnchor::remember()
{
    m_row = -1;
    if (m_view->model() != m_model)
        return;

    moveCurrent();
    takeSelection();
    const QScrollBar *bar = m_view->verticalScrollBar();
    const int top = m_view->rowAt(0);
    if (bar->value() == bar->minimum() || top < 0)
        return;

    const QHeaderView *header = m_view->verticalHeader();
    const int height = m_view->viewport()->height();
    for (int visual = header->visualIndex(top); visual < header->count(); ++visual) {
        const int row = header->logicalIndex(visual);
        const int offset = m_view->rowViewportPosition(row);
        if (offset >= height)
            break;
        m_row = header->isSectionHidden(row) ? -1 : m_model->rowAfterPass(row);
        m_offset = offset;
        if (m_row >= 0)
            return;
    }
    const int survivor = nearestSurvivor(top);
    m_row = survivor < 0 ? -1 : m_model->rowAfterPass(survivor);
    m_offset = 0;
}

void ViewAnchor::takeSelection()
{
    const QItemSelection selection = m_view->selectionModel()->selection();
    qsizetype rows = 0;
    for (const QItemSelectionRange &range : selection)
        rows += range.height();
    if (rows <= manyRows)
        return;

    // The rows after the pass, by range of columns.
    std::map<std::pair<int, int>, std::vector<bool>> places;
    for (const QItemSelectionRange &range : selection) {
        std::vector<bool> &selected = places[{range.left(), range.right()}];
        selected.resize(size_t(m_model->rowCount()) + 1);
        for (int row = range.top(); row <= range.bottom(); ++row) {
            const int place = m_model->rowAfterPass(row);
            if (place >= 0 && size_t(place) >= selected.size())
                selected.resize(size_t(place) + 1);
            if (place >= 0)
                selected[size_t(place)] = true;
        }
    }
    m_pieces.clear();
    for (const auto &[columns, selected] : places) {
        for (size_t row = 0; row < selected.size() && m_pieces.size() <= manyPieces; ++row) {
            if (!selected[row])
                continue;
            const size_t first = row;
            while (row + 1 < selected.size() && selected[row + 1])
                ++row;
            m_pieces.push_back({int(first), int(row), columns.first, columns.second});
        }
    }
    m_isDropped = m_pieces.size() > manyPieces;
    if (m_isDropped) {
        m_pieces.clear();
        const QModelIndex current = m_view->currentIndex();
        const int place = current.isValid() ? m_model->rowAfterPass(current.row()) : -1;
        const auto holds = [&current](const QItemSelectionRange &range) { return range.contains(current); };
        const auto range = std::find_if(selection.begin(), selection.end(), holds);
        if (place >= 0 && range != selection.end())
            m_pieces.push_back({place, place, range->left(), range->right()});
    }
    m_isTaken = true;
    m_view->selectionModel()->clearSelection();
}

void ViewAnchor::giveSelectionBack()
{
    if (!std::exchange(m_isTaken, false) || m_view->model() != m_model)
        return;
    QItemSelection selection;
    for (const Piece &piece : std::exchange(m_pieces, {})) {
        selection.append(QItemSelectionRange(m_model->index(piece.firstRow, piece.firstColumn),
                                             m_model->index(piece.lastRow, piece.lastColumn)));
    }
    m_view->selectionModel()->select(selection, QItemSelectionModel::Select);
    if (std::exchange(m_isDropped, false))
        Q_EMIT selectionDropped();
}

void ViewAnchor::restore()
{
    giveSelectionBack();
    if (m_row < 0 || m_view->model() != m_model)
        return;

    // Until the view has been laid out, the range of the scroll bar is that of the rows before.
    m_view->doItemsLayout();
    const QHeaderView *header = m_view->verticalHeader();
    const int top = std::max(0, header->sectionPosition(m_row) - m_offset);
    if (m_view->verticalScrollMode() == QAbstractItemView::ScrollPerPixel) {
        m_view->verticalScrollBar()->setValue(top);
        return;
    }
    const int visual = header->visualIndexAt(top - header->offset());
    int value = visual;
    if (header->hiddenSectionCount() > 0) {
        value = 0;
        for (int i = 0; i < visual; ++i)
            value += header->isSectionHidden(header->logicalIndex(i)) ? 0 : 1;
    }
    m_view->verticalScrollBar()->setValue(value);
}

/// The nearest row below \a row that is still shown, or else the nearest one above; -1 when there is none.
int ViewAnchor::nearestSurvivor(int row) const
{
    for (int below = row; below < m_model->rowCount(); ++below) {
        if (m_model->rowAfterPass(below) >= 0)
            return below;
    }
    for (int above = row - 1; above >= 0; --above) {
        if (m_model->rowAfterPass(above) >= 0)
            return above;
    }
    return -1;
}

void ViewAnchor::moveCurrent()
{
    const QModelIndex current = m_view->currentIndex();
    if (!current.isValid() || m_model->rowAfterPass(current.row()) >= 0)
        return;
    const int survivor = nearestSurvivor(current.row());
    if (survivor < 0)
        return;

    const bool autoScroll = m_view->hasAutoScroll();
    m_view->setAutoScroll(false);
    m_view->selectionModel()->setCurrentIndex(m_model->index(survivor, current.column()),
                                              QItemSelectionModel::NoUpdate);
    m_view->setAutoScroll(autoScroll);
}

} // namespace sito

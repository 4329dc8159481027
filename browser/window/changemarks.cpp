// SPDX-License-Identifier: MIT
#include <browser/window/changemarks.h>

#include <hostkit/table/tablemodel.h>

#include <QAbstractItemView>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

constexpr qsizetype maxMarkedRows = 4096;
/// The tint fades in steps of so many milliseconds; at first, and how far.
constexpr int step = 200;
constexpr int steps = 10;
constexpr int stepsOfFading = 5;
constexpr float strength = 0.35F;

} // namespace

ChangeMarks::ChangeMarks(const TableModel &model, TableChanges &changes, QAbstractItemView &view)
    : QStyledItemDelegate(&view), m_model(model), m_changes(changes), m_view(view)
{
    m_timer.setInterval(step);
    connect(&m_timer, &QTimer::timeout, this, &ChangeMarks::fade);
    connect(&model, &TableModel::changesShown, this, &ChangeMarks::show);
    connect(&model, &TableModel::passFinished, this, &ChangeMarks::show);
    m_changes.add(this);
}

ChangeMarks::~ChangeMarks()
{
    m_changes.remove(this);
}

/// In the thread of whoever changes the table.
void ChangeMarks::tableChanged(const TableChange &change) noexcept
{
    try {
        const std::lock_guard lock(m_mutex);
        for (const unsigned char *row : change.rows) {
            if (change.kind == TableChange::Removed) {
                m_told.remove(row);
            } else if (m_told.size() < maxMarkedRows) {
                QList<int> &columns = m_told[row];
                for (const int column : change.columns)
                    columns.append(column);
            }
        }
    } catch (...) {
        // Without memory there is no mark.
    }
}

void ChangeMarks::show()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_told.isEmpty())
            return;
        // The marks before are about to go.
        m_marked = std::exchange(m_told, {});
    }
    m_stepsLeft = steps;
    m_timer.start();
    m_view.viewport()->update();
}

void ChangeMarks::fade()
{
    if (--m_stepsLeft == 0) {
        m_timer.stop();
        m_marked.clear();
    }
    m_view.viewport()->update();
}

void ChangeMarks::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (m_marked.isEmpty())
        return;
    const auto cells = m_marked.constFind(m_model.record(index.row()).row());
    if (cells == m_marked.cend() ||
        (!cells->isEmpty() && !cells->contains(m_model.columns().at(index.column()))))
        return;
    // Over the background, whatever the palette.
    QColor tint = option->palette.color(QPalette::Highlight);
    tint.setAlphaF(strength * float(std::min(m_stepsLeft, stepsOfFading)) / float(stepsOfFading));
    option->backgroundBrush = tint;
}

} // namespace sito

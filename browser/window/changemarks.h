// SPDX-License-Identifier: MIT
#pragma once

#include <data/tablechanges.h>

#include <QHash>
#include <QList>
#include <QStyledItemDelegate>
#include <QTimer>

#include <mutex>

class QAbstractItemView;

namespace sito {

class TableModel;

/// Marks the cells of a view that have changed, and rows that are new, by a tint that fades within two
/// seconds. Of very many changes at once only the first are marked.
class ChangeMarks : public QStyledItemDelegate, private TableListener
{
    Q_OBJECT
public:
    /// For \a view, the parent, which shows \a model, which follows \a changes. Neither of these is owned;
    /// both must outlive the object.
    ChangeMarks(const TableModel &model, TableChanges &changes, QAbstractItemView &view);
    ~ChangeMarks() override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    /// Columns by row blocks; none stands for all.
    using Cells = QHash<const unsigned char *, QList<int>>;

    void tableChanged(const TableChange &change) noexcept override;
    void show();
    void fade();

    const TableModel &m_model;
    TableChanges &m_changes;
    QAbstractItemView &m_view;
    std::mutex m_mutex;
    /// What is not shown yet; guarded by the mutex.
    Cells m_told;
    Cells m_marked;
    QTimer m_timer;
    int m_stepsLeft = 0;
};

} // namespace sito

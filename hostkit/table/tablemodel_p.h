// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/rowpasses_p.h>
#include <hostkit/table/tablecells_p.h>
#include <hostkit/table/tablemodel.h>

#include <memory>
#include <vector>

namespace sito {

class TableModelPrivate
{
public:
    TableModelPrivate(TableModel &model, Table &modelTable, const QList<int> &modelColumns);

    /// Brings the model from the rows before to those of \a pass, step by step. When a step fails, the rows
    /// are those from before, after a reset.
    void show(const RowPass &pass);
    void announce(const RowPass &pass);
    void announceAtOnce(const RowPass &pass);
    void announceSteps(const RowPass &pass);
    void announceWritten(const RowPass &pass);
    QVariant data(int row, int section, int role) const;
    /// Whether a filter over \a column takes part.
    bool isFiltered(int column) const;

    /// The rows that the model shows, also between two announcements: the first ones of some ids.
    struct View
    {
        const RowSet *rows = nullptr;
        const quint32 *ids = nullptr;
        quint32 count = 0;

        const Record &operator[](size_t place) const;
    };

    TableModel *const q;
    Table &table;
    const TableCells cells;
    View view;
    /// What the view refers to between the steps of an announcement.
    std::vector<quint32> steps;
    /// The pass whose result is about to be shown; see TableModel::rowAfterPass().
    const RowPass *coming = nullptr;
    /// Last, so that its threads end before anything that they use.
    RowPasses passes;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/rowpasses_p.h>
#include <hostkit/table/tablecells_p.h>
#include <hostkit/table/tablemodel.h>

#include <memory>
#include <optional>
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
    void hold(int firstRow, int lastRow, const QList<int> &sections);
    /// What data() is without reading the row; nothing when that is not known.
    std::optional<QVariant> heldData(int row, int section, int role) const;
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

    /// Cells that were read together, see TableModel::readCells().
    struct HeldCells
    {
        int firstRow = 0;
        int lastRow = -1;
        /// How many sections were read.
        int width = 0;
        /// For each section its place among those that were read, or -1.
        std::vector<int> places = {};
        /// Row by row.
        std::vector<TableCells::Painted> cells = {};
    };

    TableModel *const q;
    Table &table;
    const TableCells cells;
    View view;
    /// What the view refers to between the steps of an announcement.
    std::vector<quint32> steps;
    /// The pass whose result is about to be shown; see TableModel::rowAfterPass().
    const RowPass *coming = nullptr;
    /// Null unless readCells() runs.
    std::unique_ptr<const HeldCells> held;
    /// Last, so that its threads end before anything that they use.
    RowPasses passes;
};

} // namespace sito

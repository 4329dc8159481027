// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QList>
#include <QVariant>

#include <optional>
#include <vector>

class Field;
class Table;

namespace sito {

/// How the cells and headers of some columns of a table look in a view.
class TableCells
{
    Q_DECLARE_TR_FUNCTIONS(sito::TableModel)
public:
    TableCells(const Table &table, const QList<int> &columns);

    const QList<int> &columns() const { return m_columns; }
    int count() const { return int(m_sections.size()); }
    /// As TableModel::data() for Qt's roles, for the cell of \a section in the row block \a row.
    QVariant data(unsigned char *row, int section, int role) const;
    bool isAbsent(unsigned char *row, int section) const;

    /// What a view paints of a cell.
    struct Painted
    {
        QVariant text = {};
        bool isAbsent = false;
    };
    Painted painted(unsigned char *row, int section) const;
    /// As data(), from \a cell alone; nothing for the roles with which no view paints.
    std::optional<QVariant> data(const Painted &cell, int section, int role) const;
    /// As TableModel::headerData() for Qt's roles.
    QVariant columnHeader(int section, int role, bool isFiltered) const;
    QVariant rowHeader(int row, int role) const;

private:
    /// What the cells of a section have in common.
    struct Section
    {
        int column = 0;
        bool isNumber = false;
    };

    QVariant absentData(int role) const;
    static QVariant toolTip(const Field &field);
    QString columnToolTip(int column) const;

    const Table &m_table;
    const QList<int> m_columns;
    std::vector<Section> m_sections;

    // Shared by all cells.
    const QVariant m_left;
    const QVariant m_right;
    const QVariant m_dash;
    /// Made when it is first asked for: a font needs a QGuiApplication.
    mutable QVariant m_absentFont;
};

} // namespace sito

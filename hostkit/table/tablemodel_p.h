// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/rowpass_p.h>
#include <hostkit/table/tablemodel.h>

#include <QPointer>
#include <QTimer>
#include <QVariant>

namespace sito {

class TableModelPrivate
{
public:
    /// What the cells of a section have in common.
    struct Section
    {
        int column = 0;
        bool isNumber = false;
    };

    TableModelPrivate(TableModel &model, Table &modelTable, const QList<int> &modelColumns);

    /// Sees to it that a pass begins when control returns to the event loop.
    void schedule();
    void startPending();
    /// Gives up the running pass, if any; its predicates live on until the worker lets go of it.
    void abandon();
    /// Takes in what the worker has finished.
    void collect();
    void show(RowPass &pass);

    QVariant absentData(int role) const;
    static QString shortened(QString text, qsizetype length);
    QVariant toolTip(const Field &field) const;
    QString columnToolTip(int column) const;
    /// Whether a filter over \a column takes part.
    bool isFiltered(int column) const;

    TableModel *const q;
    Table &table;
    const QList<int> columns;
    std::vector<Section> sections;
    std::shared_ptr<ShownRows> shown;
    std::shared_ptr<const RowOrder> order;
    QPointer<FilterList> filters;
    QList<TableModel::SortKey> keys;

    int threads = 0;
    bool isPending = false;
    bool isReloadWanted = false;
    bool isShowing = false;
    bool isUpToDate = true;
    /// The newest pass, whose result is to be shown; null when none runs.
    std::shared_ptr<RowPass> pass;
    /// Passes that were given up and that the worker has not finished yet.
    std::vector<std::shared_ptr<RowPass>> abandoned;
    /// The pass whose result is about to be shown; see TableModel::rowAfterPass().
    RowPass *coming = nullptr;
    int percent = -1;
    QTimer progress;
    qint64 lastNanoseconds = 0;

    // Shared by all cells.
    const QVariant left;
    const QVariant right;
    const QVariant dash;
    /// Made when it is first asked for: a font needs a QGuiApplication.
    mutable QVariant absentFont;

    /// Last, so that the thread ends before anything that it uses.
    PassWorker worker;
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QPersistentModelIndex>

class QTreeView;

namespace sito {

/// Keeps the rows that a view shows where they are, as long as it lives: while others come and go above them.
class TreeAnchor
{
public:
    explicit TreeAnchor(QTreeView *view);
    ~TreeAnchor();

private:
    Q_DISABLE_COPY_MOVE(TreeAnchor)
    struct Row
    {
        QPersistentModelIndex index;
        int top;
    };

    QTreeView *m_view;
    QList<Row> m_rows;
};

} // namespace sito

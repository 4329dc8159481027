// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QPersistentModelIndex>

class QTreeView;

namespace sito {

/// While it exists, keeps the visible rows of a view in place when rows above them are inserted or removed.
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

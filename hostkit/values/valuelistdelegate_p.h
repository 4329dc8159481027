// SPDX-License-Identifier: MIT
#pragma once

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

namespace sito {

/// Paints the count of a value at the right edge, and lets a click anywhere in a row check or uncheck it. For
/// the views of a ValueListModel.
class ValueListDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &given, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    QPersistentModelIndex m_pressed;
};

} // namespace sito

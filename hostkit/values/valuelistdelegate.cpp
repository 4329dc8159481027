// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistdelegate_p.h>

#include <hostkit/values/valuelistmodel_p.h>

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace sito {

void ValueListDelegate::paint(QPainter *painter, const QStyleOptionViewItem &given,
                              const QModelIndex &index) const
{
    QStyleOptionViewItem option(given);
    initStyleOption(&option, index);
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    const QRect room = style->subElementRect(QStyle::SE_ItemViewItemText, &option, option.widget);
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
    const QString count = index.data(ValueListModel::CountRole).toString();
    const QFontMetrics metrics(given.font);
    QRect countRoom = room.adjusted(margin, 0, -margin, 0);
    const int countWidth = metrics.horizontalAdvance(count);
    const int textWidth = room.width() - 2 * margin - countWidth - metrics.averageCharWidth() * 2;
    option.text = option.fontMetrics.elidedText(option.text, Qt::ElideRight, textWidth);

    // Styles outline check boxes a shade darker than windows, which is next to nothing on a dark list.
    const QColor base = option.palette.color(QPalette::Base);
    if (base.lightness() < 128)
        option.palette.setColor(QPalette::Window, option.palette.color(QPalette::PlaceholderText));

    const bool isSelected = option.state & QStyle::State_Selected;
    const QPalette::ColorGroup group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
                                       : option.state & QStyle::State_Active   ? QPalette::Active
                                                                               : QPalette::Inactive;
    const QColor faint =
        option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::PlaceholderText);
    style->drawControl(QStyle::CE_ItemViewItem, &option, painter, option.widget);

    painter->save();
    painter->setFont(given.font);
    painter->setPen(faint);
    painter->drawText(countRoom,
                      int(QStyle::visualAlignment(option.direction, Qt::AlignRight | Qt::AlignVCenter)) |
                          Qt::TextSingleLine,
                      count);
    painter->restore();
}

QSize ValueListDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    // As wide as the list, whatever stands in the first row.
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    const QFontMetrics &metrics = option.fontMetrics;
    return {metrics.averageCharWidth() * 10, std::max(size.height(), metrics.height() * 4 / 3)};
}

bool ValueListDelegate::editorEvent(QEvent *event, QAbstractItemModel *model,
                                    const QStyleOptionViewItem &option, const QModelIndex &index)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        m_pressed = mouse->button() == Qt::LeftButton && mouse->modifiers() == Qt::NoModifier
                        ? QPersistentModelIndex(index)
                        : QPersistentModelIndex();
        return false;
    }
    case QEvent::MouseButtonRelease: {
        const bool isClick = m_pressed == index;
        m_pressed = QPersistentModelIndex();
        const QVariant state = index.data(Qt::CheckStateRole);
        if (!isClick || !state.isValid() ||
            !option.rect.contains(static_cast<QMouseEvent *>(event)->position().toPoint())) {
            return false;
        }
        return model->setData(index, int(state.toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked),
                              Qt::CheckStateRole);
    }
    default:
        return false;
    }
}

void ValueListDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    if (index.data(ValueListModel::UnwrittenRole).toBool())
        option->font.setItalic(true);
    if (!(option->features & QStyleOptionViewItem::HasCheckIndicator)) {
        // What cannot be chosen by itself shows a box that is neither.
        option->features |= QStyleOptionViewItem::HasCheckIndicator;
        option->checkState = Qt::PartiallyChecked;
    }
    option->fontMetrics = QFontMetrics(option->font);
}

} // namespace sito

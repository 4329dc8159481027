// SPDX-License-Identifier: MIT
#include <browser/settings/markingdelegate.h>

#include <browser/settings/settingssearchmodel.h>

#include <QPainter>

#include <algorithm>

namespace sito {

QWidget *MarkingDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                       const QModelIndex &index) const
{
    QWidget *editor = SettingsDelegate::createEditor(parent, option, index);
    if (editor)
        // Qt calls this function on const delegates; signals are not const.
        Q_EMIT const_cast<MarkingDelegate *>(this)->editorMade(editor);
    return editor;
}

void MarkingDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    SettingsDelegate::paint(painter, option, index);
    if (index.column() != 0 || !index.data(SettingsSearchModel::PendingRole).toBool())
        return;
    QRect bar = option.rect;
    bar.setWidth(std::max(2, option.fontMetrics.averageCharWidth() / 3));
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    painter->fillRect(bar, option.palette.color(selected ? QPalette::HighlightedText : QPalette::Link));
}

QSize MarkingDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    // An editor needs more room than a text.
    QSize size = SettingsDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height(), option.fontMetrics.height() * 3 / 2));
    return size;
}

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsdelegate.h>

namespace sito {

/// Marks pending changes of a SettingsSearchModel with a bar before the name.
class MarkingDelegate : public SettingsDelegate
{
    Q_OBJECT

public:
    using SettingsDelegate::SettingsDelegate;

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

Q_SIGNALS:
    void editorMade(QWidget *editor);
};

} // namespace sito

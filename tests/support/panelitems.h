// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>
#include <QFrame>
#include <QList>

/// The items of a panel of filters, hidden ones too.
inline QList<QFrame *> panelItems(const QWidget &panel)
{
    return panel.findChildren<QFrame *>(QStringLiteral("filterPanelItem"));
}

/// The first item of a panel; null when there is none.
inline QFrame *panelItem(const QWidget &panel)
{
    return panel.findChild<QFrame *>(QStringLiteral("filterPanelItem"));
}

/// The switch of \a item.
inline QCheckBox *panelSwitch(const QFrame *item)
{
    return item->findChild<QCheckBox *>(QStringLiteral("switch"));
}

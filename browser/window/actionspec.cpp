// SPDX-License-Identifier: MIT
#include <browser/window/actionspec.h>

#include <QAction>
#include <QCoreApplication>
#include <QWidget>

namespace sito {

using namespace Qt::StringLiterals;

QAction *ActionSpec::make(QWidget &owner) const
{
    auto *action = new QAction(&owner);
    action->setObjectName(QString::fromLatin1(objectName));
    if (icon)
        action->setIcon(Icons::icon(*icon));
    action->setShortcut(shortcut);
    owner.addAction(action);
    return action;
}

void ActionSpec::translate(QAction &action, const char *context) const
{
    const auto translated = [context](const char *source) {
        return source ? QCoreApplication::translate(context, source) : QString();
    };
    const QString name = translated(text);
    const QString shortName = translated(shortText);
    const QString toolTip = translated(hint);
    action.setText(name);
    action.setIconText(shortName.isEmpty() ? QString(name).remove(u'&').remove(u'…') : shortName);
    const QString key = action.shortcut().toString(QKeySequence::NativeText);
    const QString shown = toolTip.isEmpty() ? QString(name).remove(u'&') : toolTip;
    action.setToolTip(key.isEmpty() ? shown : u"%1 (%2)"_s.arg(shown, key));
    action.setStatusTip(toolTip);
}

} // namespace sito

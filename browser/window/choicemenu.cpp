// SPDX-License-Identifier: MIT
#include <browser/window/choicemenu.h>

#include <QActionGroup>

namespace sito {

ChoiceMenu::ChoiceMenu(const QString &prefix, const QStringList &names,
                       const std::function<QString()> &current, QWidget *parent)
    : QMenu(parent)
{
    auto *group = new QActionGroup(this);
    for (const QString &name : names) {
        QAction *action = addAction(QString());
        action->setObjectName(prefix + u'-' + name);
        action->setCheckable(true);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, name] { Q_EMIT chosen(name); });
        connect(this, &QMenu::aboutToShow, action,
                [action, name, current] { action->setChecked(name == current()); });
    }
}

void ChoiceMenu::setTexts(const QStringList &texts)
{
    for (qsizetype i = 0; i < texts.size(); ++i)
        actions().at(i)->setText(texts.at(i));
}

} // namespace sito

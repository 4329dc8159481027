// SPDX-License-Identifier: MIT
#include <browser/window/choicemenu.h>

#include <QActionGroup>

namespace sito {

ChoiceMenu::ChoiceMenu(const QString &prefix, const QStringList &names,
                       const std::function<QString()> &current, QWidget *parent)
    : QMenu(parent), m_prefix(prefix), m_current(current), m_group(new QActionGroup(this))
{
    setNames(names);
    connect(this, &QMenu::aboutToShow, this, &ChoiceMenu::check);
}

void ChoiceMenu::setNames(const QStringList &names)
{
    clear();
    m_names = names;
    for (const QString &name : names) {
        QAction *action = m_group->addAction(addAction(QString()));
        action->setObjectName(m_prefix + u'-' + name);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, name] { Q_EMIT chosen(name); });
    }
}

void ChoiceMenu::setTexts(const QStringList &texts)
{
    for (qsizetype i = 0; i < texts.size(); ++i)
        actions().at(i)->setText(texts.at(i));
}

void ChoiceMenu::check()
{
    const QString current = m_current();
    for (qsizetype i = 0; i < m_names.size(); ++i)
        actions().at(i)->setChecked(m_names.at(i) == current);
}

} // namespace sito

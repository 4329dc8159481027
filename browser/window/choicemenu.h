// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QStringList>

#include <functional>

namespace sito {

/// A menu of which one entry is checked: the one that holds when the menu is opened.
class ChoiceMenu : public QMenu
{
    Q_OBJECT
public:
    /// The entries get the object names "\a prefix-name". \a current tells the name of the one that holds.
    ChoiceMenu(const QString &prefix, const QStringList &names, const std::function<QString()> &current,
               QWidget *parent = nullptr);

    /// In the order of the names.
    void setTexts(const QStringList &texts);

Q_SIGNALS:
    /// The user has chosen the entry of \a name.
    void chosen(const QString &name);
};

} // namespace sito

// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QStringList>

#include <functional>

class QActionGroup;

namespace sito {

/// A menu of which one entry is checked: the one that holds when the menu is opened.
class ChoiceMenu : public QMenu
{
    Q_OBJECT
public:
    /// The entries get the object names "\a prefix-name". \a current tells the name of the one that holds.
    ChoiceMenu(const QString &prefix, const QStringList &names, const std::function<QString()> &current,
               QWidget *parent = nullptr);

    /// Replaces the entries. A menu whose entries change does so when it is about to be shown, and calls
    /// setTexts() and check() then.
    void setNames(const QStringList &names);
    /// In the order of the names.
    void setTexts(const QStringList &texts);
    /// Checks the entry that holds now.
    void check();

Q_SIGNALS:
    /// The user has chosen the entry of \a name.
    void chosen(const QString &name);

private:
    const QString m_prefix;
    const std::function<QString()> m_current;
    QActionGroup *const m_group;
    QStringList m_names;
};

} // namespace sito

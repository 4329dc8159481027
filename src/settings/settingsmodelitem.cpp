// SPDX-License-Identifier: MIT
#include <settings/settingsmodelitem.h>

#include <utility>

SettingsModelItem::SettingsModelItem(Type type_, SettingsModelItem *parent_, int index)
    : parent(parent_), valueType(0), type(type_)
{
    if (!parent)
        return;
    if (index < 0 || index > parent->children.size())
        parent->children.append(this);
    else
        parent->children.insert(index, this);
}

SettingsModelItem::~SettingsModelItem()
{
    // A store may nest deeper than the stack is: the subtree is taken apart level by level, so that every
    // destructor called from here finds neither children nor parent and returns at once.
    QList<SettingsModelItem *> subtree = std::exchange(children, {});
    for (qsizetype i = 0; i < subtree.size(); ++i)
        subtree += std::exchange(subtree.at(i)->children, {});
    for (SettingsModelItem *item : std::as_const(subtree)) {
        item->parent = nullptr;
        delete item;
    }
    if (parent)
        parent->children.removeAll(this);
}

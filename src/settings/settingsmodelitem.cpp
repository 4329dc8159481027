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
    // A store may nest deeper than the stack is: the subtree is collected level by level, so that every
    // destructor called from here finds neither children nor parent and returns at once. A node that is its
    // own parent is collected already, so that one listed twice is deleted once.
    QList<SettingsModelItem *> subtree;
    const auto collectChildren = [&subtree](SettingsModelItem *owner) {
        const QList<SettingsModelItem *> listed = std::exchange(owner->children, {});
        for (SettingsModelItem *item : listed) {
            if (!item || item->parent == item)
                continue;
            if (item->parent && item->parent != owner)
                item->parent->children.removeAll(item);
            item->parent = item;
            subtree.append(item);
        }
    };
    collectChildren(this);
    for (qsizetype i = 0; i < subtree.size(); ++i)
        collectChildren(subtree.at(i));
    for (SettingsModelItem *item : std::as_const(subtree)) {
        item->parent = nullptr;
        delete item;
    }
    if (parent)
        parent->children.removeAll(this);
}

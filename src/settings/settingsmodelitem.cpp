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
    // A store may be nested deeper than the stack allows. The subtree is therefore collected level by level,
    // and every node has neither children nor a parent when it is deleted. A collected node is its own parent
    // for the time being, so that a node listed twice is deleted once.
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

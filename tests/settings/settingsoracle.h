// SPDX-License-Identifier: MIT
#pragma once

#include <settings/settingsmodel.h>

#include <QMap>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

/// What a store holds, by full path, and what QSettings promises to do with it.
class PlainStore
{
public:
    QMap<QString, QVariant> values;
    QStringList current;

    QString group() const { return current.join(u'/'); }
    QString prefix() const { return current.isEmpty() ? QString() : group() + u'/'; }

    static QString normalized(const QString &key) { return key.split(u'/', Qt::SkipEmptyParts).join(u'/'); }

    QStringList childGroups() const
    {
        QStringList result;
        for (auto it = values.begin(); it != values.end(); ++it) {
            const QString rest = it.key().mid(prefix().size());
            if (it.key().startsWith(prefix()) && rest.contains(u'/'))
                result += rest.section(u'/', 0, 0);
        }
        result.removeDuplicates();
        result.sort();
        return result;
    }
    QStringList childKeys() const
    {
        QStringList result;
        for (auto it = values.begin(); it != values.end(); ++it) {
            const QString rest = it.key().mid(prefix().size());
            if (it.key().startsWith(prefix()) && !rest.contains(u'/'))
                result += rest;
        }
        result.sort();
        return result;
    }
    QVariant value(const QString &key) const { return values.value(prefix() + normalized(key)); }
    void setValue(const QString &key, const QVariant &value) { values[prefix() + normalized(key)] = value; }
    void remove(const QString &key)
    {
        const QString name = normalized(key);
        const QString path = name.isEmpty() ? group() : prefix() + name;
        const QStringList keys = values.keys();
        for (const QString &entry : keys) {
            if (path.isEmpty() || entry == path || entry.startsWith(path + u'/'))
                values.remove(entry);
        }
    }
};

/// The rules of the settings model over a PlainStore, as plain as they can be written down: nodes hold nodes,
/// walks are recursive, every notification is a line with the state at its moment.
class SettingsOracle
{
public:
    struct Node
    {
        Node *parent = nullptr;
        std::vector<std::unique_ptr<Node>> children;
        enum { Root, Group, Key } kind = Root;
        QString name;
        QString path;
        QVariant value;
        int type = 0;
        /// No other node of the process has it.
        quint64 id = nextId();

        static quint64 nextId()
        {
            static quint64 last = 0;
            return ++last;
        }
        int row() const
        {
            int row = 0;
            while (parent && parent->children[std::size_t(row)].get() != this)
                ++row;
            return row;
        }
        int rows() const { return int(children.size()); }
    };

    PlainStore *store = nullptr;
    SettingsModel::EditStrategy strategy = SettingsModel::OnFieldChange;
    bool readOnly = true;
    QStringList removed;
    QStringList notes;
    Node root;
    /// How often the rarer rules were met.
    int emptyRemovals = 0;
    int insertionsBehindTheEnd = 0;
    int keysWithRows = 0;

    static QString shown(const Node &node)
    {
        return node.value.typeId() == QMetaType::QStringList ? node.value.toStringList().join(u',')
                                                             : node.value.toString();
    }

    static QString text(const Node &node)
    {
        QStringList rows;
        for (const auto &child : node.children) {
            QString line = child->name;
            if (child->kind == Node::Key)
                line += u'=' + shown(*child);
            if (child->kind != Node::Key || !child->children.empty())
                line += u'{' + text(*child) + u'}';
            rows += line;
        }
        return rows.join(u' ');
    }

    /// All cells and tool tips, a line per row.
    static QStringList cells(const Node &node)
    {
        QStringList lines;
        for (const auto &child : node.children) {
            const QString type =
                child->kind == Node::Group ? QString() : QString::fromLatin1(QMetaType(child->type).name());
            lines += QStringList{child->path, child->name, type, shown(*child)}.join(u'|');
            lines += cells(*child);
        }
        return lines;
    }

    void setSettings(PlainStore *settings)
    {
        if (settings == store)
            return;
        store = settings;
        rebuild();
    }

    void clear() { rebuild(); }

    void refresh() { merge(root); }

    bool setData(Node *node, int column, const QVariant &value, int role)
    {
        if (!store || !node || node->kind != Node::Key || column != 2 || readOnly)
            return false;
        if (role == Qt::EditRole || role == Qt::DisplayRole) {
            node->value = value;
            if (strategy == SettingsModel::OnFieldChange)
                store->setValue(node->path, value);
        }
        note(QStringLiteral("changed ") + where(*node) + QStringLiteral(" 2-2 []"));
        return true;
    }

    bool removeRows(int row, int count, Node &parent)
    {
        if (!store || row < 0 || count < 1 || row + count > parent.rows() || readOnly)
            return false;
        const QString place = parent.kind == Node::Root ? QStringLiteral("none") : where(parent);
        note(range("removing", place, row, row + count - 1));
        for (int i = row + count - 1; i >= row; --i) {
            const QString path = parent.children[std::size_t(i)]->path;
            if (strategy == SettingsModel::OnFieldChange)
                store->remove(path);
            else
                removed += path;
            parent.children.erase(parent.children.begin() + i);
        }
        const QString after = parent.kind == Node::Root ? QStringLiteral("none") : where(parent);
        note(range("removed", after, row, row + count - 1));
        return true;
    }

    void submitAll()
    {
        if (strategy != SettingsModel::OnManualSubmit || !store)
            return;
        for (const QString &path : removed)
            store->remove(path);
        submit(root);
    }

    void revertAll()
    {
        if (strategy != SettingsModel::OnManualSubmit)
            return;
        removed.clear();
        refresh();
    }

private:
    QString where(const Node &node) const
    {
        if (node.kind == Node::Root)
            return QStringLiteral("root");
        return node.parent->kind == Node::Root ? node.name : where(*node.parent) + u'/' + node.name;
    }

    static QString range(const char *what, const QString &place, int first, int last)
    {
        return QString::fromLatin1(what) + u' ' + place + u' ' + QString::number(first) +
               QStringLiteral("..") + QString::number(last);
    }

    void note(const QString &what) { notes += what + QStringLiteral(": ") + text(root); }

    QString path(const QString &name) const
    {
        const QString group = store->group();
        return group.isEmpty() ? name
                               : QStringLiteral("%1/%2").arg(group).arg(name); // clazy:exclude=qstring-arg
    }

    void rebuild()
    {
        note(QStringLiteral("resetting"));
        fill(root);
        note(QStringLiteral("reset"));
    }

    Node *add(Node &parent, int row)
    {
        const auto place = parent.children.begin() + qMin(row, parent.rows());
        Node *node = parent.children.insert(place, std::make_unique<Node>())->get();
        node->parent = &parent;
        return node;
    }

    void read(Node &key, const QString &name)
    {
        key.name = name;
        key.value = store->value(name);
        key.type = key.value.typeId();
        key.path = path(name);
    }

    void fill(Node &parent)
    {
        for (const QString &name : store->childGroups()) {
            Node *group = add(parent, parent.rows());
            group->kind = Node::Group;
            group->name = name;
            group->path = path(name);
            store->current += name;
            fill(*group);
            store->current.removeLast();
        }
        for (const QString &name : store->childKeys()) {
            Node *key = add(parent, parent.rows());
            key->kind = Node::Key;
            read(*key, name);
        }
    }

    Node *found(Node &parent, const QString &name, int row, decltype(Node::kind) kind)
    {
        for (const auto &child : parent.children) {
            if (child->name != name)
                continue;
            child->kind = kind;
            if (kind == Node::Group) {
                child->type = 0;
                child->value = QVariant();
            }
            keysWithRows += kind == Node::Key && !child->children.empty();
            if (child->row() < row) {
                ++emptyRemovals;
                note(range("removing", where(parent), row, child->row() - 1));
                note(range("removed", where(parent), row, child->row() - 1));
            }
            return child.get();
        }
        note(range("inserting", where(parent), row, row));
        insertionsBehindTheEnd += row > parent.rows();
        Node *node = add(parent, row);
        node->kind = kind;
        note(range("inserted", where(parent), row, row));
        return node;
    }

    void merge(Node &parent)
    {
        int row = 0;
        for (const QString &name : store->childGroups()) {
            Node *group = found(parent, name, row, Node::Group);
            group->name = name;
            group->path = path(name);
            ++row;
            store->current += name;
            merge(*group);
            store->current.removeLast();
        }
        for (const QString &name : store->childKeys()) {
            Node *key = found(parent, name, row, Node::Key);
            read(*key, name);
            note(QStringLiteral("changed ") + where(*key) + QStringLiteral(" 0-2 []"));
            ++row;
        }
        if (parent.rows() > row) {
            const int last = parent.rows() - 1;
            note(range("removing", where(parent), row, last));
            while (parent.rows() > row)
                parent.children.erase(parent.children.begin() + row);
            note(range("removed", where(parent), row, last));
        }
    }

    void submit(Node &node)
    {
        store->remove(node.name);
        if (node.kind == Node::Key) {
            store->setValue(node.name, node.value);
            return;
        }
        if (!node.name.isEmpty())
            store->current += node.name;
        for (const auto &child : node.children)
            submit(*child);
        if (!node.name.isEmpty())
            store->current.removeLast();
    }
};

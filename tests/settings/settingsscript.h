// SPDX-License-Identifier: MIT
#pragma once

#include "settingsoracle.h"

#include <support/settingsfixtures.h>

#include <QRandomGenerator>
#include <QSettings>

/// A seeded script of mixed steps on a store and a model, and the same steps on the oracle.
class SettingsScript
{
public:
    SettingsScript(quint32 seed, const QString &group) : m_random(seed), m_group(group)
    {
        m_stores.push_back({m_files.empty(), std::make_unique<PlainStore>()});
        enterGroup(m_stores.back());
        for (int i = 0; i < 12; ++i)
            change();
        model.setSettings(m_stores.back().settings.get());
        oracle.setSettings(m_stores.back().plain.get());
    }

    /// Runs one step and answers what it was.
    QString step()
    {
        const int dice = below(100);
        if (dice < 22)
            return change();
        if (dice < 50)
            return refresh();
        if (dice < 64)
            return edit();
        if (dice < 74)
            return remove();
        if (dice < 80) {
            model.submitAll();
            oracle.submitAll();
            return QStringLiteral("submitAll");
        }
        if (dice < 86) {
            model.revertAll();
            oracle.revertAll();
            return QStringLiteral("revertAll");
        }
        if (dice < 91) {
            const auto strategy = below(2) ? SettingsModel::OnManualSubmit : SettingsModel::OnFieldChange;
            model.setEditStrategy(strategy);
            oracle.strategy = strategy;
            return QStringLiteral("strategy %1").arg(strategy);
        }
        if (dice < 95) {
            const bool readOnly = below(4) == 0;
            model.setReadOnly(readOnly);
            oracle.readOnly = readOnly;
            return QStringLiteral("readOnly %1").arg(readOnly);
        }
        if (dice < 96) {
            model.clear();
            oracle.clear();
            return QStringLiteral("clear");
        }
        if (dice < 97)
            return anotherStore();
        if (dice < 98)
            return purge();
        return QStringList{change(), change(), change(), refresh()}.join(QStringLiteral(", "));
    }

    /// What the real store and its plain copy hold, which must be the same.
    QStringList storeEntries() const { return entriesOf(*m_stores.back().outside); }
    QStringList plainEntries() const
    {
        QStringList result;
        const PlainStore &plain = *m_stores.back().plain;
        for (auto it = plain.values.begin(); it != plain.values.end(); ++it)
            result += it.key() + u'=' + valueText(it.value());
        result.sort();
        return result;
    }
    QString currentGroup() const { return m_stores.back().settings->group(); }

    /// All cells and tool tips of \a model, as SettingsOracle::cells().
    static QStringList cells(const QAbstractItemModel &model, const QModelIndex &parent = {})
    {
        QStringList lines;
        for (int row = 0; row < model.rowCount(parent); ++row) {
            const QModelIndex index = model.index(row, 0, parent);
            lines += QStringList{index.data(Qt::ToolTipRole).toString(), index.data().toString(),
                                 index.siblingAtColumn(1).data().toString(),
                                 index.siblingAtColumn(2).data().toString()}
                         .join(u'|');
            lines += cells(model, index);
        }
        return lines;
    }

    SettingsModel model;
    SettingsOracle oracle;

private:
    struct Store
    {
        std::unique_ptr<QSettings> settings;
        std::unique_ptr<PlainStore> plain;
        std::unique_ptr<QSettings> outside = nullptr;
    };

    int below(qsizetype bound) { return m_random.bounded(int(bound)); }

    static QString valueText(const QVariant &value)
    {
        return QString::fromLatin1(value.metaType().name()) + u':' +
               (value.typeId() == QMetaType::QStringList ? value.toStringList().join(u'|')
                                                         : value.toString());
    }

    static QStringList entriesOf(const QSettings &store)
    {
        QStringList result;
        for (const QString &key : store.allKeys())
            result += key + u'=' + valueText(store.value(key));
        result.sort();
        return result;
    }

    void enterGroup(Store &store)
    {
        store.outside = std::make_unique<QSettings>(store.settings->fileName(), QSettings::IniFormat);
        if (!m_group.isEmpty()) {
            store.settings->beginGroup(m_group);
            store.plain->current = m_group.split(u'/');
        }
    }

    QString name()
    {
        static const QStringList names{QStringLiteral("a"),  QStringLiteral("b"),      QStringLiteral("c"),
                                       QStringLiteral("x"),  QStringLiteral("long a"), QStringLiteral("aaaa"),
                                       QStringLiteral("%1"), QStringLiteral("Ключ")};
        return names.at(below(names.size()));
    }

    QVariant value()
    {
        switch (below(6)) {
        case 0:
            return below(1000);
        case 1:
            return QStringList{QString::number(below(10)), QStringLiteral("z,%1")};
        case 2:
            return QVariant();
        case 3:
            return below(2) == 1;
        default:
            return QStringLiteral("v%1").arg(below(1000));
        }
    }

    QString anyPath()
    {
        QString path = m_group.isEmpty() || below(20) == 0 ? name() : m_group + u'/' + name();
        while (below(2))
            path += u'/' + name();
        return path;
    }

    /// The plain store's answer to a change that somebody else makes, from the top.
    QString change()
    {
        Store &store = m_stores.back();
        const QString path = anyPath();
        const QStringList current = std::exchange(store.plain->current, {});
        QString what;
        if (below(3)) {
            const QVariant content = value();
            store.outside->setValue(path, content);
            store.plain->setValue(path, content);
            what = QStringLiteral("set ") + path;
        } else {
            store.outside->remove(path);
            store.plain->remove(path);
            what = QStringLiteral("unset ") + path;
        }
        store.plain->current = current;
        return what;
    }

    QString purge()
    {
        Store &store = m_stores.back();
        store.outside->clear();
        store.plain->values.clear();
        for (int i = 0; i < 8; ++i)
            change();
        return QStringLiteral("purge");
    }

    QString refresh()
    {
        model.refresh();
        oracle.refresh();
        return QStringLiteral("refresh");
    }

    /// Goes down from the top at random, in both trees.
    std::pair<QModelIndex, SettingsOracle::Node *> anyNode()
    {
        QModelIndex index;
        SettingsOracle::Node *node = &oracle.root;
        while (node->rows() > 0 && (node == &oracle.root || below(3))) {
            const int row = below(node->rows());
            index = model.index(row, 0, index);
            node = node->children[std::size_t(row)].get();
        }
        return {index, node};
    }

    QString edit()
    {
        const auto [index, node] = anyNode();
        const int column = below(4) ? 2 : below(3);
        const int role = below(5) == 0 ? Qt::ToolTipRole : below(3) == 0 ? Qt::DisplayRole : Qt::EditRole;
        const QVariant content = value();
        const bool done = model.setData(index.siblingAtColumn(column), content, role);
        const bool expected = oracle.setData(index.isValid() ? node : nullptr, column, content, role);
        return QStringLiteral("edit %1 %2").arg(index.data(Qt::ToolTipRole).toString()).arg(role) +
               (done == expected ? QString() : QStringLiteral(" ANSWERS ARE NOT THE SAME"));
    }

    QString remove()
    {
        const auto [index, node] = anyNode();
        const QModelIndex parent = below(3) ? index.parent() : index;
        SettingsOracle::Node *parentNode = parent == index || !node->parent ? node : node->parent;
        const int row = below(parentNode->rows() + 2) - (below(8) == 0);
        const int count = below(5) ? 1 : below(4);
        const bool done = model.removeRows(row, count, parent);
        const bool expected = oracle.removeRows(row, count, *parentNode);
        return QStringLiteral("remove %1 %2").arg(row).arg(count) +
               (done == expected ? QString() : QStringLiteral(" ANSWERS ARE NOT THE SAME"));
    }

    /// Somebody else's view of the file: numbers come back as texts.
    QString anotherStore()
    {
        Store next{m_files.reparsed(*m_stores.back().settings), std::make_unique<PlainStore>()};
        for (const QString &key : next.settings->allKeys())
            next.plain->values[key] = next.settings->value(key);
        enterGroup(next);
        model.setSettings(next.settings.get());
        oracle.setSettings(next.plain.get());
        m_stores.push_back(std::move(next));
        return QStringLiteral("another store");
    }

    QRandomGenerator m_random;
    QString m_group;
    SettingsFiles m_files;
    std::vector<Store> m_stores;
};

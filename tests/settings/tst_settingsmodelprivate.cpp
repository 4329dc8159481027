// SPDX-License-Identifier: MIT
#include <settings/settingsmodel_p.h>

#include <support/settingsfixtures.h>

#include <QApplication>
#include <QRegularExpression>
#include <QTest>

#include <type_traits>

using namespace Qt::StringLiterals;
using Item = SettingsModelItem;

static_assert(!std::is_polymorphic_v<SettingsModelPrivate>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::q), SettingsModel *>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::root), Item *>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::settings), QSettings *>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::editStrategy), SettingsModel::EditStrategy>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::readOnly), bool>);
static_assert(std::is_same_v<decltype(SettingsModelPrivate::removedKeys), QStringList>);
static_assert(std::is_same_v<decltype(&SettingsModelPrivate::findItem),
                             Item *(SettingsModelPrivate::*)(Item *, const QString &)>);

namespace {

/// Explicit instantiations may name private members: the way to a model's own private half.
template <auto Member>
struct PrivateHalf
{
    friend SettingsModelPrivate &privateHalf(SettingsModel &model) { return *(model.*Member); }
};
SettingsModelPrivate &privateHalf(SettingsModel &model);
template struct PrivateHalf<&SettingsModel::d>;

} // namespace

/// A private half in the name of a model that has another one of its own: what is notified shows at the
/// model.
class TestSettingsModelPrivate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_model = std::make_unique<SettingsModel>();
        d = std::make_unique<SettingsModelPrivate>(m_model.get());
    }

    void cleanup()
    {
        d.reset();
        m_model.reset();
    }

    void startsWithABareRoot()
    {
        QCOMPARE(d->q, m_model.get());
        QCOMPARE(d->root->type, Item::Root);
        QCOMPARE(d->root->parent, nullptr);
        QVERIFY(d->root->children.isEmpty());
        QVERIFY(d->root->name.isEmpty());
        QVERIFY(d->root->path.isEmpty());
        QCOMPARE(d->settings, nullptr);
        QCOMPARE(d->editStrategy, SettingsModel::OnFieldChange);
        QVERIFY(d->readOnly);
        QVERIFY(!d->groupIcon.isNull());
        QVERIFY(!d->keyIcon.isNull());
        QVERIFY(d->removedKeys.isEmpty());
    }

    void keepsItsMembersInOrder()
    {
        const auto at = [&](const void *member) {
            return static_cast<const char *>(member) - reinterpret_cast<const char *>(d.get());
        };
        const QList<qptrdiff> offsets{
            at(&d->q),        at(&d->root),      at(&d->settings), at(&d->editStrategy),
            at(&d->readOnly), at(&d->groupIcon), at(&d->keyIcon),  at(&d->removedKeys)};

        QCOMPARE(offsets.first(), 0);
        QVERIFY(std::is_sorted(offsets.begin(), offsets.end()));
    }

    void joinsPaths_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");

        QTest::newRow("no group") << u""_s << u"k"_s << u"k"_s;
        QTest::newRow("no group, a name with %1") << u""_s << u"%1"_s << u"%1"_s;
        QTest::newRow("one group") << u"g"_s << u"k"_s << u"g/k"_s;
        QTest::newRow("two groups") << u"g1/g2"_s << u"k"_s << u"g1/g2/k"_s;
        QTest::newRow("no name") << u"g"_s << u""_s << u"g/"_s;
        QTest::newRow("nothing") << u""_s << u""_s << u""_s;
        QTest::newRow("blanks") << u" g "_s << u" k "_s << u" g / k "_s;
        QTest::newRow("% in the name") << u"g"_s << u"%1 %2"_s << u"g/%1 %2"_s;
        QTest::newRow("%1 in the group") << u"a%1b"_s << u"k"_s << u"akb/%2"_s;
        QTest::newRow("%2 in the group") << u"a%2b"_s << u"k"_s << u"akb/k"_s;
        QTest::newRow("%3 in the group") << u"a%3b"_s << u"k"_s << u"a%3b/k"_s;
        QTest::newRow("%L1 in the group") << u"%L1"_s << u"k"_s << u"k/%2"_s;
        QTest::newRow("%01 in the group") << u"%01"_s << u"k"_s << u"k/%2"_s;
        QTest::newRow("bare % in the group") << u"50% off"_s << u"k"_s << u"50% off/k"_s;
        QTest::newRow("% at the end of the group") << u"50%"_s << u"k"_s << u"50%/k"_s;
        QTest::newRow("Cyrillic") << u"Общие"_s << u"Ключ"_s << u"Общие/Ключ"_s;
    }

    void joinsPaths()
    {
        QFETCH(QString, group);
        QFETCH(QString, name);
        QFETCH(QString, path);

        QCOMPARE(childPath(group, name), path);
    }

    void givesTheRootAValidIndex()
    {
        const QModelIndex index = d->index(d->root);

        QVERIFY(index.isValid());
        QCOMPARE(index.row(), 0);
        QCOMPARE(index.column(), 0);
        QCOMPARE(index.internalPointer(), d->root);
        QCOMPARE(index.model(), m_model.get());
    }

    void findsTheIndexOfANode()
    {
        new Item(Item::Group, d->root, -1);
        auto *group = new Item(Item::Group, d->root, -1);
        new Item(Item::Key, group, -1);
        new Item(Item::Key, group, -1);
        auto *key = new Item(Item::Key, group, -1);

        QCOMPARE(d->index(group).row(), 1);
        QCOMPARE(d->index(key).row(), 2);
        QCOMPARE(d->index(key).column(), 0);
        QCOMPARE(d->index(key).internalPointer(), key);
    }

    void givesAnUnlistedNodeRowMinusOne()
    {
        auto *key = new Item(Item::Key, d->root, -1);
        d->root->children.clear();

        QCOMPARE(d->index(key).row(), -1);
        QVERIFY(!d->index(key).isValid());

        delete key;
    }

    void findsTheNodeOfAnIndex()
    {
        auto *key = new Item(Item::Key, d->root, -1);

        QCOMPARE(d->item(d->index(key)), key);
        QCOMPARE(d->item(QModelIndex()), d->root);
        QCOMPARE(d->item(d->index(d->root)), d->root);
    }

    void findsTheFirstChildByName_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("row");

        QTest::newRow("no children") << QStringList() << u"a"_s << -1;
        QTest::newRow("absent") << QStringList{u"a"_s, u"b"_s} << u"c"_s << -1;
        QTest::newRow("first of two alike") << QStringList{u"a"_s, u"b"_s, u"b"_s} << u"b"_s << 1;
        QTest::newRow("case matters") << QStringList{u"key"_s, u"KEY"_s} << u"KEY"_s << 1;
        QTest::newRow("a part is no match") << QStringList{u"longer"_s, u"long"_s} << u"long"_s << 1;
        QTest::newRow("same end") << QStringList{u"xlonger"_s, u"ylonger"_s} << u"ylonger"_s << 1;
        QTest::newRow("same start") << QStringList{u"longerx"_s, u"longery"_s} << u"longery"_s << 1;
        QTest::newRow("four characters") << QStringList{u"abcd"_s, u"abce"_s} << u"abce"_s << 1;
        QTest::newRow("three characters") << QStringList{u"abd"_s, u"acd"_s} << u"acd"_s << 1;
        QTest::newRow("empty name") << QStringList{u"a"_s, u""_s} << u""_s << 1;
        QTest::newRow("no empty name") << QStringList{u"a"_s} << u""_s << -1;
        QTest::newRow("Cyrillic") << QStringList{u"ключ"_s, u"Ключ"_s} << u"Ключ"_s << 1;
    }

    void findsTheFirstChildByName()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, name);
        QFETCH(int, row);
        for (int i = 0; i < names.size(); ++i)
            (new Item(i % 2 ? Item::Key : Item::Group, d->root, -1))->name = names.at(i);

        Item *found = d->findItem(d->root, name);

        QCOMPARE(found, row < 0 ? nullptr : d->root->children.at(row));
    }

    void announcesAnEmptyRemoval_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QStringList>("notes");

        QTest::newRow("up by one") << 0 << 1
                                   << QStringList{u"removing root 1..-1"_s, u"removed root 1..-1"_s};
        QTest::newRow("up by two") << 1 << 3 << QStringList{u"removing root 3..0"_s, u"removed root 3..0"_s};
        QTest::newRow("stays") << 1 << 1 << QStringList();
        QTest::newRow("down") << 2 << 1 << QStringList();
    }

    void announcesAnEmptyRemoval()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, notes);
        for (int i = 0; i < 4; ++i)
            new Item(Item::Key, d->root, -1);
        const QList<Item *> before = d->root->children;
        ModelRecorder recorder(m_model.get());

        d->moveItemUp(d->root, from, to);

        QCOMPARE(recorder.take(), notes);
        QCOMPARE(d->root->children, before);
    }

    void fillsANodeBesidesWhatItHolds()
    {
        SettingsFiles files;
        const auto store = files.parsed("[g]\nk=1\nh\\l=2\n");
        d->settings = store.get();
        auto *old = new Item(Item::Key, d->root, -1);
        ModelRecorder recorder(m_model.get());
        store->beginGroup(u"g"_s);

        d->fillGroup(d->root);

        QCOMPARE(d->root->children.size(), 3);
        QCOMPARE(d->root->children.at(0), old);
        const Item *h = d->root->children.at(1);
        QCOMPARE(h->name, u"h"_s);
        QCOMPARE(h->path, u"g/h"_s);
        QCOMPARE(h->type, Item::Group);
        QCOMPARE(h->valueType, 0);
        QVERIFY(!h->value.isValid());
        QCOMPARE(h->parent, d->root);
        QCOMPARE(h->children.first()->path, u"g/h/l"_s);
        const Item *k = d->root->children.at(2);
        QCOMPARE(k->name, u"k"_s);
        QCOMPARE(k->path, u"g/k"_s);
        QCOMPARE(k->type, Item::Key);
        QCOMPARE(k->value, QVariant(u"1"_s));
        QCOMPARE(k->valueType, int(QMetaType::QString));
        QCOMPARE(recorder.take(), QStringList());
        QCOMPARE(store->group(), u"g"_s);
    }

    void clearsWhatAKeyHeldWhenItBecomesAGroup()
    {
        SettingsFiles files;
        const auto store = files.parsed("[x]\ny=1\n");
        d->settings = store.get();
        auto *x = new Item(Item::Key, d->root, -1);
        x->name = u"x"_s;
        x->value = 5;
        x->valueType = QMetaType::Int;

        d->refresh(d->root);

        QCOMPARE(d->root->children, QList<Item *>{x});
        QCOMPARE(x->type, Item::Group);
        QVERIFY(!x->value.isValid());
        QCOMPARE(x->valueType, 0);
        QCOMPARE(x->path, u"x"_s);
        QCOMPARE(x->children.size(), 1);
    }

    void refreshesOneGroup()
    {
        SettingsFiles files;
        const auto store = files.parsed("[g]\nk=1\nl=2\n");
        d->settings = store.get();
        d->fillGroup(d->root);
        Item *g = d->root->children.first();
        store->setValue(u"g/m"_s, 3);
        store->remove(u"g/k"_s);
        store->setValue(u"top"_s, 3);
        store->beginGroup(u"g"_s);

        d->refresh(g);
        store->endGroup();

        QCOMPARE(d->root->children.size(), 1);
        QStringList paths;
        for (const Item *key : std::as_const(g->children))
            paths += key->path;
        QCOMPARE(paths, (QStringList{u"g/k"_s, u"g/m"_s}));
    }

    void submitsASubtreeIntoTheCurrentGroup()
    {
        SettingsFiles files;
        const auto store = files.empty();
        store->setValue(u"g/k"_s, 1);
        store->setValue(u"g/h/l"_s, 2);
        d->settings = store.get();
        d->fillGroup(d->root);
        store->setValue(u"g/foreign"_s, 3);
        store->setValue(u"foreign"_s, 4);
        Item *g = d->root->children.first();
        d->findItem(g, u"k"_s)->value = u"new"_s;

        d->submit(g);

        QCOMPARE(entries(*store), (QStringList{u"foreign=4"_s, u"g/h/l=2"_s, u"g/k=new"_s}));
        QCOMPARE(store->group(), QString());
    }

    void recordsRemovedPathsUntilReverted()
    {
        SettingsFiles files;
        const auto store = files.parsed("a=1\nb=2\nc=3\n[g]\nk=1\n");
        const auto other = files.parsed("d=1\n");
        const QStringList &removed = privateHalf(*m_model).removedKeys;
        m_model->setSettings(store.get());
        m_model->setReadOnly(false);
        m_model->setEditStrategy(SettingsModel::OnManualSubmit);

        QVERIFY(m_model->removeRows(1, 2));
        QVERIFY(m_model->removeRows(0, 1, m_model->index(0, 0)));
        QVERIFY(m_model->removeRows(0, 1));
        const QStringList paths{u"b"_s, u"a"_s, u"g/k"_s, u"g"_s};
        QCOMPARE(removed, paths);
        m_model->submitAll();
        QCOMPARE(removed, paths);
        m_model->refresh();
        m_model->clear();
        m_model->setSettings(other.get());
        QCOMPARE(removed, paths);
        m_model->setEditStrategy(SettingsModel::OnFieldChange);
        m_model->revertAll();
        QVERIFY(m_model->removeRows(0, 1));
        QCOMPARE(removed, paths);
        m_model->setEditStrategy(SettingsModel::OnManualSubmit);
        m_model->revertAll();
        QCOMPARE(removed, QStringList());
    }

    void editsAndRemovesANodeWithAPathAlone()
    {
        SettingsFiles files;
        const auto store = files.parsed("a=1\nb=2\n");
        m_model->setSettings(store.get());
        m_model->setReadOnly(false);
        privateHalf(*m_model).root->children.first()->name.clear();

        QVERIFY(m_model->setData(m_model->index(0, 2), u"new"_s));
        QCOMPARE(entries(*store), (QStringList{u"a=new"_s, u"b=2"_s}));
        QVERIFY(m_model->removeRows(0, 1));
        QCOMPARE(entries(*store), QStringList{u"b=2"_s});
    }

    void revertsWithoutAStore()
    {
        SettingsModelPrivate &own = privateHalf(*m_model);
        own.removedKeys = QStringList{u"a"_s};
        m_model->setEditStrategy(SettingsModel::OnManualSubmit);

        m_model->revertAll();

        QCOMPARE(own.removedKeys, QStringList());
    }

    void cutsARowListedTwiceOnce()
    {
        SettingsFiles files;
        const auto store = files.parsed("a=1\nb=2\n");
        d->settings = store.get();
        auto *x = addKey(d->root, u"x"_s);
        auto *a = addKey(d->root, u"a"_s);
        addKey(d->root, u"b"_s);
        d->root->children << x << nullptr << x;
        ModelRecorder recorder(m_model.get());

        d->refresh(d->root);

        QCOMPARE(d->root->children, QList<Item *>{a});
        QCOMPARE(recorder.take().filter(u"remov"_s),
                 (QStringList{u"removing root 2..5"_s, u"removed root 2..5"_s}));
    }

    void cutsARowOfAnotherParent()
    {
        SettingsFiles files;
        const auto store = files.empty();
        d->settings = store.get();
        Item other(Item::Group, nullptr, -1);
        d->root->children.append(addKey(&other, u"k"_s));

        d->refresh(d->root);

        QCOMPARE(d->root->children, QList<Item *>());
        QCOMPARE(other.children, QList<Item *>());
    }

    void removesARowListedTwiceOnce()
    {
        SettingsFiles files;
        const auto store = files.parsed("a=1\nb=2\n");
        m_model->setSettings(store.get());
        m_model->setReadOnly(false);
        QList<Item *> &rows = privateHalf(*m_model).root->children;
        Item *b = rows.last();
        rows << rows.first() << rows.first();

        QVERIFY(m_model->removeRows(2, 2));

        QCOMPARE(rows, QList<Item *>{b});
        QCOMPARE(entries(*store), QStringList{u"b=2"_s});
    }

    void removesARowOfAnotherParent()
    {
        SettingsFiles files;
        const auto store = files.empty();
        m_model->setSettings(store.get());
        m_model->setReadOnly(false);
        Item other(Item::Group, nullptr, -1);
        privateHalf(*m_model).root->children.append(addKey(&other, u"k"_s));

        QVERIFY(m_model->removeRows(0, 1));

        QCOMPARE(m_model->rowCount(), 0);
        QCOMPARE(other.children, QList<Item *>());
    }

    void submitsOneKey()
    {
        SettingsFiles files;
        const auto store = files.empty();
        store->setValue(u"k"_s, 1);
        store->setValue(u"k/below"_s, 2);
        store->setValue(u"l"_s, 3);
        d->settings = store.get();
        Item key(Item::Key, nullptr, -1);
        key.name = u"k"_s;
        key.value = 7;

        d->submit(&key);

        QCOMPARE(entries(*store), (QStringList{u"k=7"_s, u"l=3"_s}));
    }

private:
    static Item *addKey(Item *parent, const QString &name)
    {
        auto *key = new Item(Item::Key, parent, -1);
        key->name = name;
        return key;
    }

    std::unique_ptr<SettingsModel> m_model;
    std::unique_ptr<SettingsModelPrivate> d;
};

QTEST_MAIN(TestSettingsModelPrivate)
#include "tst_settingsmodelprivate.moc"

// SPDX-License-Identifier: MIT
#include <settings/settingsmodelitem.h>

#include <QRegularExpression>
#include <QTest>

#include <cstddef>
#include <type_traits>

using namespace Qt::StringLiterals;
using Item = SettingsModelItem;

static_assert(Item::Root == 0 && Item::Group == 1 && Item::Key == 2);
static_assert(!std::is_polymorphic_v<Item>);
static_assert(!std::is_copy_constructible_v<Item> && !std::is_copy_assignable_v<Item>);
static_assert(std::is_standard_layout_v<Item>, "no base class holds members, and offsetof is good");
static_assert(offsetof(Item, parent) == 0);
static_assert(offsetof(Item, children) == offsetof(Item, parent) + sizeof(Item *));
static_assert(offsetof(Item, name) == offsetof(Item, children) + sizeof(QList<Item *>));
static_assert(offsetof(Item, value) == offsetof(Item, name) + sizeof(QString));
static_assert(offsetof(Item, path) == offsetof(Item, value) + sizeof(QVariant));
static_assert(offsetof(Item, valueType) == offsetof(Item, path) + sizeof(QString));
static_assert(offsetof(Item, type) == offsetof(Item, valueType) + sizeof(int));
static_assert(std::is_same_v<decltype(Item::children), QList<Item *>>);

class TestSettingsModelItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void startsBare_data()
    {
        QTest::addColumn<int>("type");

        QTest::newRow("root") << int(Item::Root);
        QTest::newRow("group") << int(Item::Group);
        QTest::newRow("key") << int(Item::Key);
    }

    void startsBare()
    {
        QFETCH(int, type);

        const Item item(static_cast<Item::Type>(type), nullptr, -1);

        QCOMPARE(int(item.type), type);
        QCOMPARE(item.parent, nullptr);
        QVERIFY(item.children.isEmpty());
        QVERIFY(item.name.isEmpty());
        QVERIFY(item.path.isEmpty());
        QVERIFY(!item.value.isValid());
        QCOMPARE(item.valueType, 0);
    }

    void linksItselfIntoItsParent_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("row");

        QTest::newRow("-1 appends") << -1 << 2;
        QTest::newRow("front") << 0 << 0;
        QTest::newRow("between") << 1 << 1;
        QTest::newRow("end") << 2 << 2;
        QTest::newRow("behind the end appends") << 3 << 2;
        QTest::newRow("far behind the end appends") << 1000 << 2;
        QTest::newRow("before the front appends") << -2 << 2;
    }

    void linksItselfIntoItsParent()
    {
        QFETCH(int, index);
        QFETCH(int, row);
        Item root(Item::Root, nullptr, -1);
        auto *first = new Item(Item::Group, &root, -1);
        auto *second = new Item(Item::Key, &root, -1);

        auto *item = new Item(Item::Key, &root, index);

        QList<Item *> expected{first, second};
        expected.insert(row, item);
        QCOMPARE(root.children, expected);
        QCOMPARE(item->parent, &root);
    }

    void ignoresTheIndexWithoutParent()
    {
        const Item item(Item::Group, nullptr, 7);

        QCOMPARE(item.parent, nullptr);
    }

    void unlinksItselfWithItsSubtree()
    {
        Item root(Item::Root, nullptr, -1);
        auto *first = new Item(Item::Key, &root, -1);
        auto *group = new Item(Item::Group, &root, -1);
        auto *last = new Item(Item::Key, &root, -1);
        auto *inner = new Item(Item::Group, group, -1);
        new Item(Item::Key, group, -1);
        new Item(Item::Key, inner, -1);

        delete group;

        QCOMPARE(root.children, (QList<Item *>{first, last}));
    }

    void unlinksEveryOccurrence()
    {
        Item root(Item::Root, nullptr, -1);
        auto *other = new Item(Item::Key, &root, -1);
        auto *item = new Item(Item::Key, &root, -1);
        root.children.prepend(item);

        delete item;

        QCOMPARE(root.children, QList<Item *>{other});
    }

    void survivesNullChildren()
    {
        auto *root = new Item(Item::Root, nullptr, -1);
        auto *group = new Item(Item::Group, root, -1);
        root->children.prepend(nullptr);
        group->children.append(nullptr);
        const QString text = u"behind a null"_s.repeated(2);
        (new Item(Item::Key, group, -1))->name = text;

        delete root;

        QVERIFY(text.isDetached());
    }

    void unlinksItselfFromItsParentWhenAnotherListsIt()
    {
        Item root(Item::Root, nullptr, -1);
        auto *item = new Item(Item::Key, &root, -1);
        auto *other = new Item(Item::Group, nullptr, -1);
        other->children.append(item);

        delete other;

        QCOMPARE(root.children, QList<Item *>());
    }

    void deletesNodesListedTwiceOnce_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");

        QTest::newRow("in its parent") << 0 << 0;
        QTest::newRow("later, too") << 0 << 1;
        QTest::newRow("earlier, too") << 1 << 0;
        QTest::newRow("above, too") << 2 << 0;
        QTest::newRow("below, too") << 0 << 2;
    }

    void deletesNodesListedTwiceOnce()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        auto *root = new Item(Item::Root, nullptr, -1);
        auto *first = new Item(Item::Group, root, -1);
        auto *second = new Item(Item::Group, root, -1);
        const QList<Item *> groups{first, second, new Item(Item::Group, second, -1)};
        auto *item = new Item(Item::Key, groups.at(from), -1);
        const QString text = u"listed twice"_s.repeated(2);
        item->name = text;
        new Item(Item::Key, item, -1);
        groups.at(to)->children.append(item);

        delete root;

        QVERIFY(text.isDetached());
    }

    void deletesEveryValueBelow()
    {
        const QString text = u"seen by every key"_s.repeated(2);
        QVERIFY(text.isDetached());
        auto *root = new Item(Item::Root, nullptr, -1);
        for (int i = 0; i < 3; ++i) {
            auto *group = new Item(Item::Group, root, -1);
            for (int j = 0; j < 3; ++j)
                (new Item(Item::Key, group, -1))->name = text;
        }
        QVERIFY(!text.isDetached());

        delete root;

        QVERIFY(text.isDetached());
    }

    void deletesChainsDeeperThanTheStack()
    {
        auto *root = new Item(Item::Root, nullptr, -1);
        Item *deepest = root;
        for (int i = 0; i < 1'000'000; ++i)
            deepest = new Item(Item::Group, deepest, -1);
        const QString text = u"at the bottom"_s.repeated(2);
        deepest->name = text;

        delete root;

        QVERIFY(text.isDetached());
    }
};

QTEST_APPLESS_MAIN(TestSettingsModelItem)
#include "tst_settingsmodelitem.moc"

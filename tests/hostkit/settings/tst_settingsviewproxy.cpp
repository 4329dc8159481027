// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>

#include <settings/settingsscript.h>
#include <support/countingmodel.h>
#include <support/settingsfixtures.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSet>
#include <QSignalBlocker>
#include <QSignalSpy>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTreeView>

#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

using namespace sito;
using namespace Qt::StringLiterals;
using Node = SettingsOracle::Node;

namespace {

/// Rows, cells and paths, with the shape.
QString shape(const QAbstractItemModel &model, const QModelIndex &parent = {})
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        QStringList cells;
        for (int column = 0; column < 3; ++column)
            cells += model.index(row, column, parent).data().toString();
        cells += model.index(row, 0, parent).data(Qt::ToolTipRole).toString();
        cells += settingsPath(model.index(row, 1, parent));
        rows += cells.join(u'|') + u'{' + shape(model, model.index(row, 0, parent)) + u'}';
    }
    return rows.join(u' ');
}

QList<int> rowPath(const QModelIndex &index)
{
    QList<int> path;
    for (QModelIndex at = index; at.isValid(); at = at.parent())
        path.prepend(at.row());
    return path;
}

/// Where each node of the oracle is.
void collect(const Node &node, const QList<int> &path, QMap<quint64, QList<int>> &places)
{
    for (int row = 0; row < node.rows(); ++row) {
        const Node &child = *node.children[std::size_t(row)];
        const QList<int> place = path + QList<int>{row};
        places[child.id] = place;
        collect(child, place, places);
    }
}

QModelIndex at(const QAbstractItemModel &model, const QList<int> &path)
{
    QModelIndex index;
    for (int row : path)
        index = model.index(row, 0, index);
    return index;
}

/// Opens editors as any view does, and drops what is in them: the script makes all edits.
class Delegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void setModelData(QWidget *, QAbstractItemModel *, const QModelIndex &) const override {}
};

/// A tree of nameless rows that notices when it is asked of a row that is gone.
class WatchfulModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    ~WatchfulModel() override { destroy(m_root.children); }

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override
    {
        Item *item = itemOf(parent);
        return item && row >= 0 && row < item->children.size() && column == 0
                   ? createIndex(row, column, item->children.at(row))
                   : QModelIndex();
    }
    QModelIndex parent(const QModelIndex &index) const override
    {
        Item *item = itemOf(index);
        if (!item || !item->parent || item->parent == &m_root)
            return {};
        return createIndex(int(item->parent->parent->children.indexOf(item->parent)), 0, item->parent);
    }
    int rowCount(const QModelIndex &parent = {}) const override
    {
        Item *item = itemOf(parent);
        return item ? int(item->children.size()) : 0;
    }
    int columnCount(const QModelIndex & = {}) const override { return 1; }
    QVariant data(const QModelIndex &index, int) const override
    {
        itemOf(index);
        return {};
    }
    bool insertRows(int row, int count, const QModelIndex &parent = {}) override
    {
        beginInsertRows(parent, row, row + count - 1);
        for (int i = 0; i < count; ++i) {
            m_live += new Item{itemOf(parent), {}};
            itemOf(parent)->children.insert(row, m_live.last());
        }
        endInsertRows();
        return true;
    }
    bool removeRows(int row, int count, const QModelIndex &parent = {}) override
    {
        beginRemoveRows(parent, row, row + count - 1);
        Item *item = itemOf(parent);
        destroy(item->children.mid(row, count));
        item->children.remove(row, count);
        endRemoveRows();
        return true;
    }

    int askedOfTheDead() const { return m_askedOfTheDead; }

private:
    struct Item
    {
        Item *parent;
        QList<Item *> children;
    };

    Item *itemOf(const QModelIndex &index) const
    {
        if (!index.isValid())
            return const_cast<Item *>(&m_root);
        auto *item = static_cast<Item *>(index.internalPointer());
        if (m_live.contains(item))
            return item;
        ++m_askedOfTheDead;
        return nullptr;
    }
    /// Only forgets them: no later item must get the address of one that is gone.
    void destroy(const QList<Item *> &items)
    {
        for (Item *item : items) {
            destroy(item->children);
            m_live.removeOne(item);
            m_dead.emplace_back(item);
        }
    }

    Item m_root{nullptr, {}};
    QList<Item *> m_live;
    std::vector<std::unique_ptr<Item>> m_dead;
    mutable int m_askedOfTheDead = 0;
};

/// A store, a model over it, and the proxy, which keeps the rules of item models.
template <typename Model = SettingsModel>
struct Shown
{
    explicit Shown(std::unique_ptr<QSettings> settings) : store(std::move(settings))
    {
        model.setSettings(store.get());
        proxy.setSourceModel(&model);
    }

    const std::unique_ptr<QSettings> store;
    Model model;
    SettingsViewProxy proxy;
    const QAbstractItemModelTester tester{&proxy, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

/// The types and texts of all values, in the order of rows.
QStringList typedValues(const QAbstractItemModel &model, const QModelIndex &parent = {})
{
    QStringList values;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QVariant value = settingsValue(model.index(row, 2, parent));
        if (value.isValid())
            values += QString::fromLatin1(value.typeName()) + u' ' + settingsValueText(value);
        values += typedValues(model, model.index(row, 0, parent));
    }
    return values;
}

/// The rows whose value, as people see it, has a text.
class Search : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    QString text;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        return settingsValueText(settingsValue(sourceModel()->index(row, 2, parent))).contains(text);
    }
};

class View : public QTreeView
{
    Q_OBJECT

public:
    bool isEditing() const { return state() == EditingState; }
};

} // namespace

class TestSettingsViewProxy : public QObject
{
    Q_OBJECT

private:
    using Tester = QAbstractItemModelTester;
    SettingsFiles m_files;

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void startsEmpty()
    {
        SettingsViewProxy proxy;
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);

        QCOMPARE(proxy.rowCount(), 0);
        QCOMPARE(proxy.columnCount(), 0);
        QVERIFY(!proxy.index(0, 0).isValid());
        QVERIFY(!proxy.removeRows(0, 1));
        QVERIFY(!proxy.headerData(0, Qt::Horizontal).isValid());
        proxy.synchronize();
    }

    void showsTheModel()
    {
        const auto store = m_files.parsed("a=1\n[g]\nk=2\nh\\l=3\n");
        SettingsModel model;
        model.setSettings(store.get());
        SettingsViewProxy proxy;
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);
        ModelRecorder recorder(&proxy);

        proxy.setSourceModel(&model);

        QCOMPARE(recorder.take(), (QStringList{u"resetting"_s, u"reset"_s}));
        QCOMPARE(shape(proxy), shape(model));
        QCOMPARE(treeText(proxy), u"g{h{l=3} k=2} a=1"_s);
        QCOMPARE(proxy.columnCount(), 3);
        QCOMPARE(proxy.headerData(2, Qt::Horizontal), QVariant(u"Значение"_s));
        QVERIFY(!find(proxy, {u"g"_s}).data(Qt::DecorationRole).isNull());
        QCOMPARE(proxy.rowCount(find(proxy, {u"g"_s}, 1)), 0);
        QVERIFY(!proxy.hasChildren(find(proxy, {u"g"_s}, 1)));
        QVERIFY(proxy.hasChildren(find(proxy, {u"g"_s})));
        QVERIFY(!proxy.hasChildren(find(proxy, {u"a"_s})));
    }

    void mapsBothWays()
    {
        Shown<> shown(m_files.parsed("a=1\n[g]\nk=2\nh\\l=3\n"));

        for (const QStringList &names : {QStringList{u"a"_s}, {u"g"_s}, {u"g"_s, u"h"_s, u"l"_s}}) {
            for (int column : {0, 1, 2}) {
                QCOMPARE(shown.proxy.mapToSource(find(shown.proxy, names, column)),
                         find(shown.model, names, column));
                QCOMPARE(shown.proxy.mapFromSource(find(shown.model, names, column)),
                         find(shown.proxy, names, column));
            }
        }
        QCOMPARE(shown.proxy.mapToSource({}), QModelIndex());
        QCOMPARE(shown.proxy.mapFromSource({}), QModelIndex());
    }

    void asksOnlyTheRowOfACell()
    {
        Shown<CountingModel> shown(m_files.parsed("[a]\nb\\c\\k=1\nb\\c\\l=2\nb\\m=3\n"));
        QSortFilterProxyModel sorted;
        sorted.setSourceModel(&shown.proxy);
        find(sorted, {u"a"_s, u"b"_s, u"c"_s, u"l"_s}); // the rows above are looked up once
        const QModelIndex k = find(sorted, {u"a"_s, u"b"_s, u"c"_s, u"k"_s});

        for (const int column : {0, 1, 2}) {
            const QModelIndex cell = k.siblingAtColumn(column);
            for (const int role :
                 {int(Qt::DisplayRole), int(Qt::EditRole), int(Qt::DecorationRole), int(Qt::ToolTipRole),
                  int(Qt::FontRole), int(Qt::BackgroundRole), int(SettingsViewProxy::ValueRole)}) {
                shown.model.forget();
                cell.data(role);
                QCOMPARE(shown.model.asked, QSet{u"a/b/c/k"_s});
                QVERIFY(shown.model.lookups <= 1);
            }
            shown.model.forget();
            QVERIFY(cell.flags().testFlag(Qt::ItemIsEnabled));
            QCOMPARE(shown.model.asked, QSet{u"a/b/c/k"_s});
            shown.model.forget();
            QCOMPARE(settingsPath(cell), u"a/b/c/k"_s);
            QVERIFY(shown.model.asked.isEmpty());
        }
        QCOMPARE(settingsValue(k.siblingAtColumn(2)), QVariant(u"1"_s));
        QVERIFY(shown.model.asked.isEmpty() || shown.model.asked == QSet{u"a/b/c/k"_s});
    }

    void looksUpNoRowAboveWhenAViewPaintsAgain()
    {
        Shown<CountingModel> shown(m_files.parsed("[a]\nb\\c\\k=1\nb\\c\\l=2\nb\\m=3\n[d]\ne\\n=4\n"));
        QTreeView view;
        view.setModel(&shown.proxy);
        view.expandAll();
        view.resize(600, 400);
        view.grab();

        shown.model.forget();
        view.grab();

        QVERIFY(shown.model.answers > 0);
        // One for the cell itself.
        QCOMPARE(shown.model.lookups, shown.model.answers);
    }

    void announcesAnEditForItsCellAlone()
    {
        Shown<> shown(m_files.parsed("[a]\nb\\c\\k=1\nb\\c\\l=2\nb\\m=3\n"));
        shown.model.setReadOnly(false);
        QSortFilterProxyModel sorted;
        sorted.setSourceModel(&shown.proxy);
        const QModelIndex k = find(sorted, {u"a"_s, u"b"_s, u"c"_s, u"k"_s}, 2);
        ModelRecorder recorder(&shown.proxy);
        ModelRecorder above(&sorted);

        QVERIFY(sorted.setData(k, u"new"_s));
        QCoreApplication::processEvents();

        QCOMPARE(recorder.take(), QStringList{u"changed a/b/c/k 2-2 []"_s});
        QCOMPARE(above.take(), QStringList{u"changed a/b/c/k 2-2 []"_s});
    }

    void asksOnlyOfTheEditedRowAndThoseAboveIt()
    {
        Shown<CountingModel> shown(m_files.parsed("[a]\nb\\k=1\nb\\l=2\n[d]\ne=3\n"));
        shown.model.setReadOnly(false);
        const QModelIndex k = find(shown.model, {u"a"_s, u"b"_s, u"k"_s}, 2);
        QCoreApplication::processEvents();
        shown.model.forget();

        QVERIFY(shown.model.setData(k, u"new"_s));
        QCoreApplication::processEvents();

        QCOMPARE(shown.model.asked, (QSet{u"a/b/k"_s, u"a/b"_s, u"a"_s}));
    }

    void namesThePathsBelowAGroupThatGotItsName()
    {
        QStandardItemModel model;
        auto *top = new QStandardItem(u"top"_s);
        auto *group = new QStandardItem;
        model.appendRow(top);
        top->appendRow(group);
        group->appendRow(new QStandardItem(u"a"_s));
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        const QModelIndex a = proxy.index(0, 0, proxy.index(0, 0, proxy.index(0, 0)));
        QCOMPARE(settingsPath(a), u"top//a"_s);
        QCOMPARE(settingsPath(a.parent()), u"top/"_s);

        group->setText(u"group"_s);

        QCOMPARE(settingsPath(a), u"top/group/a"_s);
        QCOMPARE(settingsPath(a), a.data(SettingsViewProxy::PathRole).toString());
        QCOMPARE(settingsPath({}), QString());
    }

    void editsAndRemovesThroughTheModel()
    {
        Shown<> shown(m_files.parsed("a=1\nb=2\n[g]\nk=2\nl=3\n"));
        const QModelIndex value = find(shown.proxy, {u"g"_s, u"k"_s}, 2);
        ModelRecorder recorder(&shown.proxy);

        QVERIFY(!value.flags().testFlag(Qt::ItemIsEditable));
        QVERIFY(!shown.proxy.setData(value, u"new"_s));
        shown.model.setReadOnly(false);
        QVERIFY(value.flags().testFlag(Qt::ItemIsEditable));
        QVERIFY(shown.proxy.setData(value, u"new"_s));
        QVERIFY(!shown.proxy.removeRows(0, 1, find(shown.proxy, {u"g"_s}, 1)));
        QVERIFY(!shown.proxy.removeRows(0, 1, find(shown.proxy, {u"g"_s}, 2)));
        QVERIFY(shown.proxy.removeRows(1, 1, find(shown.proxy, {u"g"_s})));
        QVERIFY(shown.proxy.removeRows(1, 2));
        QVERIFY(!shown.proxy.removeRows(1, 1));

        QCOMPARE(entries(*shown.store), QStringList{u"g/k=new"_s});
        QCOMPARE(treeText(shown.proxy), u"g{k=new}"_s);
        QCOMPARE(recorder.take(),
                 (QStringList{u"changed g/k 2-2 []"_s, u"removing g 1..1"_s, u"removed g 1..1"_s,
                              u"removing none 1..2"_s, u"removed none 1..2"_s}));
    }

    void tellsOfTopLevelRowsUnderTheInvalidIndex()
    {
        Shown<> shown(m_files.parsed("b=1\n"));
        ModelRecorder recorder(&shown.proxy);

        shown.store->setValue(u"a"_s, 2);
        shown.model.refresh();
        QCOMPARE(treeText(shown.proxy), u"a=2 b=1"_s);
        QCOMPARE(recorder.take(), (QStringList{u"inserting none 0..0"_s, u"inserted none 0..0"_s,
                                               u"changed a 0-2 []"_s, u"changed b 0-2 []"_s}));

        shown.store->remove(u"b"_s);
        shown.model.refresh();
        QCOMPARE(treeText(shown.proxy), u"a=2"_s);
        QCOMPARE(recorder.take(),
                 (QStringList{u"changed a 0-2 []"_s, u"removing none 1..1"_s, u"removed none 1..1"_s}));
    }

    void swallowsEmptyRemovals()
    {
        Shown<> shown(m_files.parsed("[g]\nx=1\nx\\y=2\n"));
        const QPersistentModelIndex y = find(shown.proxy, {u"g"_s, u"x"_s, u"y"_s});
        const QPersistentModelIndex second = shown.proxy.index(1, 0, find(shown.proxy, {u"g"_s}));
        ModelRecorder recorder(&shown.proxy);

        shown.model.refresh();

        QVERIFY(recorder.take().filter(u"remov"_s).isEmpty());
        QCOMPARE(shape(shown.proxy), shape(shown.model));
        QCOMPARE(rowPath(y), (QList<int>{0, 0, 0}));
        QCOMPARE(rowPath(second), (QList<int>{0, 1}));
        const QModelIndex x = find(shown.proxy, {u"g"_s, u"x"_s});
        QVERIFY(!shown.model.hasChildren(shown.proxy.mapToSource(x)));
        QVERIFY(shown.proxy.hasChildren(x));
    }

    void keepsRowsAcrossResets()
    {
        const auto other = m_files.parsed("b=1\n[g]\nl=2\n");
        Shown<> shown(m_files.parsed("a=1\n[g]\nk=2\n"));
        const QPersistentModelIndex k = find(shown.proxy, {u"g"_s, u"k"_s});
        ModelRecorder recorder(&shown.proxy);

        shown.model.clear();
        QCOMPARE(recorder.take(), (QStringList{u"inserting none 2..3"_s, u"inserted none 2..3"_s}));
        shown.model.setSettings(other.get());

        QCOMPARE(recorder.take(), (QStringList{u"inserting none 4..5"_s, u"inserted none 4..5"_s}));
        QCOMPARE(shape(shown.proxy), shape(shown.model));
        QCOMPARE(rowPath(k), (QList<int>{0, 0}));
    }

    void tellsOfTheNameOfANewGroupBeforeItsFirstRow()
    {
        Shown<> shown(m_files.parsed("[a]\nk=1\n"));
        ModelRecorder recorder(&shown.proxy);
        shown.store->setValue(u"b/c/k"_s, 2);

        shown.model.refresh();

        // Names of the time of each notification: nothing waits for the event loop.
        QCOMPARE(recorder.take(),
                 (QStringList{u"changed a/k 0-2 []"_s, u"inserting none 1..1"_s, u"inserted none 1..1"_s,
                              u"changed b 0-2 []"_s, u"inserting b 0..0"_s, u"inserted b 0..0"_s,
                              u"changed b/c 0-2 []"_s, u"inserting b/c 0..0"_s, u"inserted b/c 0..0"_s,
                              u"changed b/c/k 0-2 []"_s}));
    }

    void tellsOfSilentChangesAboveAChangeFirst()
    {
        QStandardItemModel model;
        auto *top = new QStandardItem(u"top"_s);
        auto *group = new QStandardItem(u"group"_s);
        model.appendRow(top);
        top->appendRow(group);
        group->appendRow(new QStandardItem(u"a"_s));
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);
        ModelRecorder recorder(&proxy);
        const auto rename = [&](const QString &topName, const QString &groupName) {
            const QSignalBlocker blocker(&model);
            top->setText(topName);
            group->setText(groupName);
        };

        rename(u"t1"_s, u"g1"_s);
        group->appendRow(new QStandardItem(u"b"_s));
        QCOMPARE(recorder.take(), (QStringList{u"changed top/g1 0-0 []"_s, u"changed t1 0-0 []"_s,
                                               u"inserting t1/g1 1..1"_s, u"inserted t1/g1 1..1"_s}));

        rename(u"t2"_s, u"g2"_s);
        group->removeRow(0);
        QCOMPARE(recorder.take(), (QStringList{u"changed t1/g2 0-0 []"_s, u"changed t2 0-0 []"_s,
                                               u"removing t2/g2 0..0"_s, u"removed t2/g2 0..0"_s}));

        rename(u"t3"_s, u"g3"_s);
        group->child(0)->setText(u"c"_s);
        const QStringList changed = recorder.take();
        QCOMPARE(changed.mid(0, 2), (QStringList{u"changed t2/g3 0-0 []"_s, u"changed t3 0-0 []"_s}));
        QCOMPARE(changed.size(), 3);
        QVERIFY(changed.last().startsWith(u"changed t3/g3/c 0-0"_s));
    }

    void followsSilentChangesWithTheEventLoop_data()
    {
        QTest::addColumn<bool>("atOnce");

        QTest::newRow("event loop") << false;
        QTest::newRow("asked to") << true;
    }

    void followsSilentChangesWithTheEventLoop()
    {
        QFETCH(bool, atOnce);
        const auto other = m_files.parsed("[a]\nk=1\n[b]\n/x=1\n");
        Shown<> shown(m_files.parsed("[a]\nk=1\n"));
        ModelRecorder recorder(&shown.proxy);
        shown.model.setSettings(other.get());
        QCOMPARE(shown.model.rowCount(), 3);
        shown.model.setReadOnly(false);
        shown.model.setEditStrategy(SettingsModel::OnManualSubmit);
        shown.model.removeRows(1, 2);
        recorder.take();

        // b comes without a name, and only its nameless child is told of after it got one.
        shown.model.refresh();
        if (atOnce)
            shown.proxy.synchronize();
        else
            QCoreApplication::processEvents();

        QCOMPARE(shape(shown.proxy), shape(shown.model));
        QVERIFY(recorder.take().contains(u"changed b 0-2 []"_s));
    }

    void staysRightInTheMiddleOfAChange()
    {
        SettingsScript script(77, QString());
        SettingsViewProxy proxy;
        int looks = 0;
        const auto look = [&] {
            const QString shown = shape(proxy);
            std::function<void(const QModelIndex &)> visit = [&](const QModelIndex &parent) {
                for (int row = 0; row < proxy.rowCount(parent); ++row) {
                    const QModelIndex index = proxy.index(row, 0, parent);
                    QCOMPARE(index.parent(), parent);
                    const QModelIndex source = proxy.mapToSource(index);
                    if (source.isValid()) {
                        QCOMPARE(source.data(), index.data());
                        QCOMPARE(proxy.mapFromSource(source), index);
                    }
                    index.flags();
                    visit(index);
                }
            };
            visit({});
            QCOMPARE(shape(proxy), shown);
            ++looks;
        };
        // Before the proxy hears of a change, and after.
        using Model = QAbstractItemModel;
        const auto listen = [&](QAbstractItemModel *model) {
            connect(model, &Model::rowsAboutToBeInserted, &proxy, look);
            connect(model, &Model::rowsInserted, &proxy, look);
            connect(model, &Model::rowsAboutToBeRemoved, &proxy, look);
            connect(model, &Model::rowsRemoved, &proxy, look);
            connect(model, &Model::dataChanged, &proxy, look);
            connect(model, &Model::modelAboutToBeReset, &proxy, look);
            connect(model, &Model::modelReset, &proxy, look);
        };
        listen(&script.model);
        proxy.setSourceModel(&script.model);
        listen(&script.model);
        listen(&proxy);

        for (int i = 0; i < 150; ++i) {
            script.step();
            if (QTest::currentTestFailed())
                return;
        }

        QVERIFY(looks > 1000);
    }

    void knowsTypedValuesAtAnyMoment()
    {
        const auto store = m_files.empty();
        store->setValue(u"b"_s, QStringList{u"x"_s, u"y"_s});
        store->setValue(u"c"_s, QVariantList{1, u"z"_s});
        SettingsModel model;
        model.setSettings(store.get());
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        QSortFilterProxyModel above;
        above.setSourceModel(&proxy);
        const Tester tester(&above, Tester::FailureReportingMode::Fatal);
        ModelRecorder recorder(&proxy);
        recorder.snapshot = [&] {
            const QStringList values = typedValues(proxy);
            // It may be a step ahead or behind.
            for (const QString &value : typedValues(above)) {
                if (!values.contains(value))
                    return u"above: "_s + value;
            }
            return values.join(u" | "_s);
        };
        const QString b = u"QStringList x, y"_s;
        const QString c = u"QVariantList 1, z"_s;

        // A new key, a changed one, and one that stays.
        store->setValue(u"a"_s, QStringList{u"x,y"_s});
        store->setValue(u"c"_s, QStringList{u"1"_s, u"z"_s});
        model.refresh();
        const QString a = u"QStringList \"x,y\""_s;
        const QString other = u"QStringList 1, z"_s;
        QCOMPARE(recorder.take(),
                 (QStringList{u"inserting none 0..0: "_s + b + u" | "_s + c,
                              u"inserted none 0..0: "_s + b + u" | "_s + c,
                              u"changed a 0-2 []: "_s + QStringList{a, b, c}.join(u" | "_s),
                              u"changed b 0-2 []: "_s + QStringList{a, b, c}.join(u" | "_s),
                              u"changed c 0-2 []: "_s + QStringList{a, b, other}.join(u" | "_s)}));

        // The last row goes, which is another one than that of the removed key.
        store->remove(u"b"_s);
        model.refresh();
        QCOMPARE(recorder.take(),
                 (QStringList{u"changed a 0-2 []: "_s + QStringList{a, b, other}.join(u" | "_s),
                              u"changed c 0-2 []: "_s + QStringList{a, b, other}.join(u" | "_s),
                              u"removing none 2..2: "_s + QStringList{a, b, other}.join(u" | "_s),
                              u"removed none 2..2: "_s + QStringList{a, b}.join(u" | "_s)}));

        // The source is gone already.
        connect(&proxy, &QAbstractItemModel::modelAboutToBeReset, this, [&] {
            QCOMPARE(typedValues(proxy), (QStringList{a, b}));
        });
        proxy.setSourceModel(nullptr);
        QCOMPARE(recorder.take().size(), 2);
    }

    void announcesAChangeThatOnlyTheTypeOrTheLastBitShows_data()
    {
        QTest::addColumn<QVariant>("from");
        QTest::addColumn<QVariant>("to");
        QTest::addColumn<bool>("told");

        QTest::newRow("items joined alike")
            << QVariant(QStringList{u"a,b"_s}) << QVariant(QStringList{u"a"_s, u"b"_s}) << true;
        QTest::newRow("list and its text")
            << QVariant(QStringList{u"a"_s, u"b"_s}) << QVariant(u"a,b"_s) << true;
        QTest::newRow("items that are equal")
            << QVariant(QVariantList{1, 2.}) << QVariant(QVariantList{1., 2}) << true;
        QTest::newRow("signed zero") << QVariant(0.) << QVariant(-0.) << true;
        QTest::newRow("nothing") << QVariant(std::numeric_limits<double>::quiet_NaN())
                                 << QVariant(std::numeric_limits<double>::quiet_NaN()) << false;
    }

    void announcesAChangeThatOnlyTheTypeOrTheLastBitShows()
    {
        QFETCH(QVariant, from);
        QFETCH(QVariant, to);
        QFETCH(bool, told);
        const auto store = m_files.empty();
        store->setValue(u"k"_s, from);
        SettingsModel model;
        model.setSettings(store.get());
        model.setReadOnly(false);
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        ModelRecorder recorder(&proxy);

        {
            const QSignalBlocker blocker(&model);
            model.setData(model.index(0, 2), to);
        }
        proxy.synchronize();

        QCOMPARE(recorder.take(), told ? QStringList{u"changed k 0-2 []"_s} : QStringList());
    }

    void namesItsRoleWithThoseOfTheSource()
    {
        QStandardItemModel model;
        model.appendRow({new QStandardItem(u"k"_s), new QStandardItem, new QStandardItem(u"v"_s)});
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        QSignalSpy changed(&proxy, &QAbstractItemModel::dataChanged);

        model.item(0, 2)->setText(u"w"_s);
        model.item(0, 2)->setToolTip(u"t"_s);

        QCOMPARE(changed.size(), 2);
        QCOMPARE(changed.at(0).at(2).value<QList<int>>(),
                 (QList<int>{Qt::DisplayRole, Qt::EditRole, SettingsViewProxy::ValueRole}));
        QCOMPARE(changed.at(1).at(2).value<QList<int>>(), QList<int>{Qt::ToolTipRole});
        QCOMPARE(proxy.index(0, 2).data(SettingsViewProxy::ValueRole), QVariant(u"w"_s));
    }

    void keepsARowThatASearchFoundByItsTypedText()
    {
        const auto store = m_files.empty();
        store->setValue(u"k"_s, QStringList{u"a"_s, u"b"_s});
        store->setValue(u"l"_s, u"a,b"_s);
        SettingsModel model;
        model.setSettings(store.get());
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        Search search;
        search.text = u"a, b"_s;
        search.setSourceModel(&proxy);
        const Tester tester(&search, Tester::FailureReportingMode::Fatal);
        QCOMPARE(search.rowCount(), 1);
        const QPersistentModelIndex found = search.index(0, 0);

        model.refresh();
        QCoreApplication::processEvents();

        QVERIFY(found.isValid());
        QCOMPARE(found.data().toString(), u"k"_s);
        QCOMPARE(search.rowCount(), 1);
    }

    void bearsChangesMadeByItsListeners()
    {
        Shown<> shown(m_files.parsed("a=1\nb=2\nc=3\n[g]\nk=1\nl=2\nm=3\n"));
        shown.model.setReadOnly(false);
        int left = 3;
        connect(&shown.proxy, &QAbstractItemModel::rowsRemoved, this, [&] {
            if (--left > 0)
                shown.model.removeRows(0, 1, shown.model.index(0, 0));
        });

        shown.model.removeRows(1, 1);
        QCoreApplication::processEvents();

        QCOMPARE(treeText(shown.model), u"g{m=3} b=2 c=3"_s);
        QCOMPARE(shape(shown.proxy), shape(shown.model));
    }

    void bearsChangesMadeByListenersBeforeIt()
    {
        const auto store = m_files.parsed("[g1]\na/k=1\nb/k=2\n[g2]\nc/k=3\nd/k=4\n[g3]\ne=5\n");
        SettingsModel model;
        model.setSettings(store.get());
        model.setReadOnly(false);
        bool done = false;
        // Connected before the proxy, so that the proxy hears of the inner removal first.
        connect(&model, &QAbstractItemModel::rowsRemoved, this, [&] {
            if (!std::exchange(done, true))
                model.removeRows(0, 1, model.index(0, 0));
        });
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);

        model.removeRows(0, 1);

        // At once, and when control is back.
        QCOMPARE(treeText(model), u"g2{d{k=4}} g3{e=5}"_s);
        QCOMPARE(shape(proxy), shape(model));
        QCoreApplication::processEvents();
        QCOMPARE(shape(proxy), shape(model));
    }

    void asksNothingOfAParentThatAListenerBeforeItRemoved_data()
    {
        QTest::addColumn<std::function<void(WatchfulModel &, const QModelIndex &)>>("change");

        using Change = std::function<void(WatchfulModel &, const QModelIndex &)>;
        QTest::newRow("insertion") << Change(
            [](WatchfulModel &model, const QModelIndex &parent) { model.insertRows(1, 1, parent); });
        QTest::newRow("removal") << Change(
            [](WatchfulModel &model, const QModelIndex &parent) { model.removeRows(0, 1, parent); });
    }

    void asksNothingOfAParentThatAListenerBeforeItRemoved()
    {
        using Change = std::function<void(WatchfulModel &, const QModelIndex &)>;
        QFETCH(Change, change);
        WatchfulModel model;
        model.insertRows(0, 3);
        model.insertRows(0, 2, model.index(1, 0));
        bool done = false;
        // The index that the change is told of with dangles when the proxy hears of it.
        const auto removeParent = [&] {
            if (!std::exchange(done, true))
                model.removeRows(1, 1);
        };
        connect(&model, &QAbstractItemModel::rowsInserted, this, removeParent);
        connect(&model, &QAbstractItemModel::rowsRemoved, this, removeParent);
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);

        change(model, model.index(1, 0));

        QVERIFY(done);
        QCOMPARE(model.askedOfTheDead(), 0);
        QCOMPARE(proxy.rowCount(), 2);
        QCOMPARE(proxy.rowCount(proxy.index(0, 0)) + proxy.rowCount(proxy.index(1, 0)), 0);
    }

    void bearsTheEndOfTheParentOfARemoval()
    {
        const auto store = m_files.parsed("[g1]\nk=1\nl=2\n[g2]\nm=3\n");
        SettingsModel model;
        model.setSettings(store.get());
        model.setReadOnly(false);
        bool done = false;
        connect(&model, &QAbstractItemModel::rowsRemoved, this, [&] {
            if (!std::exchange(done, true))
                model.removeRows(0, 1);
        });
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);

        model.removeRows(0, 1, model.index(0, 0));

        QCOMPARE(treeText(model), u"g2{m=3}"_s);
        QCOMPARE(shape(proxy), shape(model));
    }

    void bearsTheEndOfARowThatItReports()
    {
        // A name that was a key and became a group, without a word from the model.
        const auto store = m_files.parsed("x=1\nx\\/z=2\n");
        const auto other = m_files.parsed("x\\/z=2\n");
        SettingsModel model;
        model.setSettings(store.get());
        model.refresh();
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        model.setSettings(other.get());
        model.refresh();
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        bool done = false;
        connect(&proxy, &QAbstractItemModel::dataChanged, this, [&] {
            if (!std::exchange(done, true))
                model.removeRows(0, 1);
        });

        model.removeRows(0, 1, model.index(0, 0));
        QCoreApplication::processEvents();

        QVERIFY(done);
        QCOMPARE(shape(proxy), shape(model));
    }

    void bearsTheEndOfItsSourceInItsOwnNotification()
    {
        const auto store = m_files.parsed("[g]\nk=1\nl=2\n[h]\nm=3\n");
        for (const bool replaced : {false, true}) {
            auto model = std::make_unique<SettingsModel>();
            model->setSettings(store.get());
            SettingsViewProxy proxy;
            proxy.setSourceModel(model.get());
            bool done = false;
            connect(&proxy, &QAbstractItemModel::dataChanged, this, [&] {
                if (std::exchange(done, true))
                    return;
                if (replaced)
                    proxy.setSourceModel(nullptr);
                else
                    model.reset();
            });

            // A change that nobody announces, found by a comparison of everything.
            const QModelIndex k = model->index(0, 2, model->index(0, 0));
            model->setReadOnly(false);
            {
                const QSignalBlocker blocker(model.get());
                model->setData(k, replaced ? 8 : 7);
            }
            proxy.synchronize();
            QCoreApplication::processEvents();

            QVERIFY(done);
            QCOMPARE(proxy.rowCount(), 0);
        }
    }

    void answersWhileItsSourceGoes()
    {
        const auto store = m_files.parsed("[g]\nk=1\n");
        auto model = std::make_unique<SettingsModel>();
        model->setSettings(store.get());
        SettingsViewProxy proxy;
        proxy.setSourceModel(model.get());
        QString seen;
        connect(&proxy, &QAbstractItemModel::modelAboutToBeReset, this, [&] {
            const QModelIndex g = proxy.index(0, 0);
            seen = g.data().toString() + QString::number(int(proxy.flags(g)));
        });

        model.reset();

        QCOMPARE(seen, u"g"_s + QString::number(int(Qt::ItemIsSelectable | Qt::ItemIsEnabled)));
    }

    void findsSilentChangesOnceControlIsBack()
    {
        Shown<> shown(m_files.parsed("[g]\nk=1\n[h]\nm=3\nn=4\n"));
        shown.model.setReadOnly(false);
        {
            const QSignalBlocker blocker(&shown.model);
            shown.model.setData(shown.model.index(0, 2, shown.model.index(0, 0)), 7);
        }
        QSignalSpy changed(&shown.proxy, &QAbstractItemModel::dataChanged);

        shown.model.removeRow(0, shown.model.index(1, 0));
        const auto before = changed.size();
        QCoreApplication::processEvents();

        QVERIFY(changed.size() > before);
        QCOMPARE(shown.proxy.index(0, 2, shown.proxy.index(0, 0)).data().toInt(), 7);
    }

    void waitsQuietlyForTheEndOfAChange()
    {
        class Counter : public QObject
        {
        public:
            bool eventFilter(QObject *, QEvent *event) override
            {
                calls += event->type() == QEvent::MetaCall ? 1 : 0;
                return false;
            }
            int calls = 0;
        };
        Shown<> shown(m_files.parsed("[g]\nk=1\n"));
        shown.model.setReadOnly(false);
        Counter counter;
        shown.proxy.installEventFilter(&counter);
        bool done = false;
        connect(&shown.proxy, &QAbstractItemModel::dataChanged, this, [&] {
            // As a slot with a dialog does: other events go on while the proxy is not done.
            if (!std::exchange(done, true))
                QTest::qWait(30);
        });

        shown.model.setData(shown.model.index(0, 2, shown.model.index(0, 0)), 2);

        QVERIFY(done);
        QVERIFY2(counter.calls < 5, QByteArray::number(counter.calls).constData());
    }

    void outlivesItsSource()
    {
        const auto store = m_files.parsed("[g]\nk=1\n");
        auto model = std::make_unique<SettingsModel>();
        model->setSettings(store.get());
        SettingsViewProxy proxy;
        proxy.setSourceModel(model.get());
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);
        QTreeView view;
        view.setModel(&proxy);
        view.expandAll();
        const QPersistentModelIndex k = find(proxy, {u"g"_s, u"k"_s});
        view.setCurrentIndex(k);

        model->refresh();
        model.reset();
        QCoreApplication::processEvents();

        QCOMPARE(proxy.rowCount(), 0);
        QVERIFY(!k.isValid());
        SettingsModel next;
        next.setSettings(store.get());
        proxy.setSourceModel(&next);
        QCOMPARE(treeText(proxy), u"g{k=1}"_s);
        proxy.setSourceModel(nullptr);
        QCOMPARE(proxy.rowCount(), 0);
    }

    void keepsAnEditorOpen()
    {
        Shown<> shown(m_files.parsed("[g]\nb=1\n"));
        shown.model.setReadOnly(false);
        QTreeView view;
        view.setModel(&shown.proxy);
        view.expandAll();
        view.show();
        view.setCurrentIndex(find(shown.proxy, {u"g"_s, u"b"_s}, 2));
        view.edit(view.currentIndex());
        QPointer<QLineEdit> editor = view.findChild<QLineEdit *>();
        QVERIFY(editor);

        shown.store->setValue(u"g/a"_s, 1);
        shown.store->setValue(u"c/a"_s, 1);
        shown.model.refresh();
        QCoreApplication::processEvents();

        QVERIFY(editor);
        QVERIFY(view.isPersistentEditorOpen(find(shown.proxy, {u"g"_s, u"b"_s}, 2)));
        QCOMPARE(view.currentIndex(), find(shown.proxy, {u"g"_s, u"b"_s}, 2));
        QVERIFY(view.isExpanded(find(shown.proxy, {u"g"_s})));

        shown.store->clear();
        shown.model.refresh();
        QCoreApplication::processEvents();
        QCOMPARE(shown.proxy.rowCount(), 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!editor);
    }

    void followsTheScriptWithViewsOnTop_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<quint32>("seed");

        for (quint32 seed = 1; seed <= 6; ++seed) {
            QTest::addRow("top group, seed %u", seed) << QString() << seed;
            QTest::addRow("nested group, seed %u", seed) << u"top/sub"_s << seed + 100;
        }
    }

    void followsTheScriptWithViewsOnTop()
    {
        QFETCH(QString, group);
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        SettingsScript script(seed, group);
        SettingsViewProxy proxy;
        proxy.setSourceModel(&script.model);
        const Tester tester(&proxy, Tester::FailureReportingMode::Fatal);
        QSortFilterProxyModel search;
        search.setRecursiveFilteringEnabled(true);
        search.setFilterKeyColumn(-1);
        search.setSourceModel(&proxy);
        search.sort(0);
        const Tester searchTester(&search, Tester::FailureReportingMode::Fatal);
        View view;
        view.setItemDelegate(new Delegate(&view));
        view.setSelectionMode(QAbstractItemView::ExtendedSelection);
        view.setModel(&proxy);
        view.show();
        QTreeView searchView;
        searchView.setModel(&search);
        searchView.show();

        for (int i = 0; i < 150; ++i) {
            const auto where = [&](const QString &what) {
                return (u"seed %1, step %2: "_s.arg(seed).arg(i) + what).toUtf8();
            };
            // Given every row remembered, some of them selected, expanded, current, in an editor.
            QMap<quint64, QList<int>> before;
            collect(script.oracle.root, {}, before);
            QMap<quint64, QPersistentModelIndex> remembered;
            for (auto it = before.cbegin(); it != before.cend(); ++it) {
                const QModelIndex index = at(proxy, it.value());
                remembered[it.key()] = index;
                if (random.bounded(4) == 0)
                    view.setExpanded(index, true);
                if (random.bounded(8) == 0)
                    view.selectionModel()->select(index,
                                                  QItemSelectionModel::Select | QItemSelectionModel::Rows);
                if (random.bounded(10) == 0) {
                    view.setCurrentIndex(index.siblingAtColumn(2));
                    if (index.siblingAtColumn(2).flags().testFlag(Qt::ItemIsEditable) && !view.isEditing()) {
                        view.edit(index.siblingAtColumn(2));
                        ++m_editors;
                    }
                }
            }
            const auto idOf = [&](const QModelIndex &index) {
                return index.isValid() ? remembered.key(index.siblingAtColumn(0), 0) : 0;
            };
            const quint64 current = idOf(view.currentIndex());
            QList<quint64> selected;
            for (const QModelIndex &index : view.selectionModel()->selectedRows())
                selected += idOf(index);
            QList<quint64> expanded;
            for (auto it = remembered.cbegin(); it != remembered.cend(); ++it) {
                if (view.isExpanded(it.value()))
                    expanded += it.key();
            }
            if (random.bounded(5) == 0)
                search.setFilterFixedString(QStringList{u""_s, u"a"_s, u"x"_s, u"1"_s}.at(random.bounded(4)));
            searchView.expandAll();

            const QString step = script.step();
            if (random.bounded(2))
                QCoreApplication::processEvents();

            QVERIFY2(SettingsScript::cells(script.model) == SettingsOracle::cells(script.oracle.root),
                     where(step).constData());
            QVERIFY2(shape(proxy) == shape(script.model), where(step).constData());
            QMap<quint64, QList<int>> after;
            collect(script.oracle.root, {}, after);
            for (auto it = remembered.cbegin(); it != remembered.cend(); ++it) {
                const bool alive = after.contains(it.key());
                QVERIFY2(it.value().isValid() == alive, where(step).constData());
                if (alive && rowPath(it.value()) != after.value(it.key()))
                    QFAIL(where(step).constData());
            }
            if (after.contains(current))
                QVERIFY2(view.currentIndex().siblingAtColumn(0) == remembered.value(current),
                         where(step).constData());
            for (quint64 id : std::as_const(selected)) {
                if (after.contains(id))
                    QVERIFY2(view.selectionModel()->isRowSelected(remembered.value(id).row(),
                                                                  remembered.value(id).parent()),
                             where(step).constData());
            }
            for (quint64 id : std::as_const(expanded)) {
                if (after.contains(id))
                    QVERIFY2(view.isExpanded(remembered.value(id)), where(step).constData());
            }
        }
    }

    void openedEditors() { QVERIFY(m_editors > 20); }

private:
    int m_editors = 0;
};

QTEST_MAIN(TestSettingsViewProxy)
#include "tst_settingsviewproxy.moc"

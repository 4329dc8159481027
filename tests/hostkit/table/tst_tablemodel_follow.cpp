// SPDX-License-Identifier: MIT
// A model that follows its table, over any database library: the test tells what it changes.
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>

#include <support/exceptions.h>
#include <support/lambdafilter.h>
#include <support/modellog.h>
#include <support/otherlocker.h>
#include <support/seed.h>
#include <support/toldtable.h>

#include <data/fieldconstvalue.h>
#include <data/keyvalue.h>

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QRandomGenerator>
#include <QTableView>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QList<ColumnSpec> columns{
    {.name = u"price"_s, .type = FieldType::Int, .nullable = true},
    {.name = u"code"_s, .type = FieldType::VarChar, .length = 12},
    {.name = u"note"_s, .type = FieldType::String, .nullable = true},
    {.name = u"rate"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
    {.name = u"wide"_s, .type = FieldType::XDecimal, .length = 2},
    {.name = u"time"_s, .type = FieldType::DateTime, .nullable = true},
    {.name = u"share"_s, .type = FieldType::Double}};

QList<CellValue> quote(int price, const QString &code)
{
    return {qint32(price), code, code, decimal(), xdecimal(), datetime(), 0.5};
}

/// A table of codes and prices, and a model of both that follows it, sorted by price.
struct Quotes
{
    Quotes()
    {
        for (const auto &[price, code] : {std::pair(10, u"A"_s), {20, u"B"_s}, {30, u"C"_s}, {40, u"D"_s}})
            rows.append(told.append(quote(price, code)));
        model.setSortKeys({{0, Qt::AscendingOrder}});
        model.follow(&told.changes);
        model.waitForPass();
    }

    QString shown() const
    {
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts.append(model.index(row, 0).data().toString() + model.index(row, 1).data().toString());
        return texts.join(u' ');
    }

    ToldTable told{u"quotes"_s, columns};
    QList<Record> rows;
    TableModel model{told.table, {1, 0, 2}};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

/// What somebody shows who knows of a model only what it announces.
class Mirror
{
public:
    explicit Mirror(const TableModel &model) : m_model(model)
    {
        takeAll();
        using Model = TableModel;
        QObject::connect(&model, &Model::rowsInserted, [this](const QModelIndex &, int first, int last) {
            for (int row = first; row <= last; ++row)
                m_rows.insert(m_rows.begin() + row, read(row));
            check();
        });
        QObject::connect(&model, &Model::rowsRemoved, [this](const QModelIndex &, int first, int last) {
            m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
            check();
        });
        QObject::connect(&model, &Model::layoutChanged, [this] { layOut(); });
        QObject::connect(
            &model, &Model::dataChanged, [this](const QModelIndex &first, const QModelIndex &last) {
                for (int row = first.row(); row <= last.row(); ++row) {
                    for (int section = first.column(); section <= last.column(); ++section)
                        m_rows[size_t(row)].texts[section] = m_model.index(row, section).data().toString();
                }
                check();
            });
        QObject::connect(&model, &Model::modelReset, [this] { m_isRight = false; });
    }

    /// Whether each announcement fitted the rows that the model then had.
    bool isRight() const { return m_isRight; }
    /// Whether the model shows these rows with these texts.
    bool hasTexts() const
    {
        for (size_t row = 0; row < m_rows.size(); ++row) {
            if (m_rows[row].texts != read(int(row)).texts)
                return false;
        }
        return true;
    }

private:
    struct Row
    {
        unsigned char *block = nullptr;
        QStringList texts;
    };

    Row read(int row) const
    {
        Row result{m_model.record(row).row(), {}};
        for (int section = 0; section < m_model.columnCount(); ++section)
            result.texts.append(m_model.index(row, section).data().toString());
        return result;
    }
    void takeAll()
    {
        for (int row = 0; row < m_model.rowCount(); ++row)
            m_rows.push_back(read(row));
    }
    void check()
    {
        bool isSame = m_rows.size() == size_t(m_model.rowCount());
        for (size_t row = 0; isSame && row < m_rows.size(); ++row)
            isSame = m_rows[row].block == m_model.record(int(row)).row();
        m_isRight = m_isRight && isSame;
    }
    void layOut()
    {
        // A row that was removed from its table and appended again stands here twice for a moment.
        QMultiHash<unsigned char *, Row> known;
        for (const Row &row : m_rows)
            known.insert(row.block, row);
        for (size_t row = 0; row < m_rows.size(); ++row) {
            unsigned char *block = m_model.record(int(row)).row();
            if (!known.contains(block))
                m_isRight = false;
            m_rows[row] = known.take(block);
        }
        check();
    }

    const TableModel &m_model;
    std::vector<Row> m_rows;
    bool m_isRight = true;
};

/// Never written at random.
constexpr int unwritten = 1;

/// Changes a table at random.
class Writer
{
public:
    Writer(ToldTable &told, quint64 seed) : m_told(told), m_random(quint32(seed ^ (seed >> 32)))
    {
        for (int i = 0; i < 1200; ++i)
            m_rows.append(told.append(row()));
        // These are never written and never removed.
        untouched = m_rows.mid(0, 20);
        m_rows.remove(0, 20);
    }

    void change(bool withInsertions)
    {
        const int action = below(withInsertions ? 1000 : 996);
        if (action < 700) {
            // The model tester compares the cells of the first section from announcement to announcement.
            const int column = (unwritten + 1 + below(int(columns.size()) - 1)) % int(columns.size());
            for (int count = below(8); count > 0 && !m_rows.isEmpty(); --count)
                m_told.update(m_rows.at(somewhere()), column, row().at(column));
        } else if (action < 850 || m_rows.size() < 50) {
            m_rows.append(m_told.append(row()));
        } else if (action < 990) {
            m_left = m_rows.takeAt(somewhere());
            m_told.remove({m_left});
        } else if (action < 994) {
            if (!m_left.isNull()) {
                m_told.append(m_left);
                m_rows.append(std::exchange(m_left, Record()));
            }
        } else if (action < 996) {
            QList<Record> leaving;
            while (m_rows.size() > 50 && below(40) > 0)
                leaving.append(m_rows.takeAt(somewhere()));
            m_told.remove(leaving);
        } else {
            const std::lock_guard lock(m_told.table);
            const qint64 index = below(int(m_told.table.rowCount()) + 1);
            m_told.insert(index, {row(), row()});
            m_rows.append({m_told.table.row(index), m_told.table.row(index + 1)});
        }
    }

    /// Removes, appends and writes some thousand rows.
    void changeMany()
    {
        QList<Record> leaving;
        for (int count = below(4000); count > 0 && m_rows.size() > 50; --count)
            leaving.append(m_rows.takeAt(somewhere()));
        m_told.remove(leaving);
        for (int count = below(6000); count > 0; --count)
            m_rows.append(m_told.append(row()));
        for (int i = 0; i < 500; ++i)
            change(false);
    }

    QList<Record> untouched;

private:
    int below(int bound) { return int(m_random.bounded(bound)); }
    qsizetype somewhere() { return below(int(m_rows.size())); }

    QList<CellValue> row()
    {
        QList<CellValue> values{qint32(below(40) - 20),
                                u"CODE%1"_s.arg(below(30)),
                                u"%1 Я"_s.arg(below(100)),
                                decimal::fromUnscaled(below(500) - 250, short(below(4))),
                                xdecimal(below(500) - 250, short(below(4))),
                                datetime(below(10) * 1000),
                                double(below(20))};
        for (const int column : {0, 2, 3, 5}) {
            if (below(8) == 0)
                values[column] = std::monostate();
        }
        return values;
    }

    ToldTable &m_told;
    QRandomGenerator m_random;
    QList<Record> m_rows;
    /// A row that was removed.
    Record m_left;
};

KeyValue priceKey(int price)
{
    KeyValue key;
    key.append(FieldConstValue(price));
    return key;
}

std::vector<unsigned char *> shownRows(const TableModel &model)
{
    std::vector<unsigned char *> rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.push_back(model.record(row).row());
    return rows;
}

} // namespace

class tst_TableModel_Follow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void announcesWhatChanged_data()
    {
        QTest::addColumn<std::function<void(Quotes &)>>("change");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QStringList>("announced");
        const auto add = [](const char *name, const std::function<void(Quotes &)> &change,
                            const QString &shown, const QStringList &announced) {
            QTest::newRow(name) << change << shown << announced;
        };

        add("a row appended, in its place", [](Quotes &q) { q.told.append(quote(25, u"E"_s)); },
            u"A10 B20 E25 C30 D40"_s, {u"inserted 2-2"_s});
        add("rows appended at the end",
            [](Quotes &q) {
                q.told.append(quote(50, u"E"_s));
                q.told.append(quote(40, u"F"_s));
            },
            u"A10 B20 C30 D40 F40 E50"_s, {u"inserted 4-5"_s});
        add("rows removed",
            [](Quotes &q) {
                q.told.remove({q.rows[0], q.rows[2]});
            },
            u"B20 D40"_s, {u"removed 2-2"_s, u"removed 0-0"_s});
        add("a value by which nothing is sorted", [](Quotes &q) { q.told.update(q.rows[1], 1, u"X"_s); },
            u"A10 X20 C30 D40"_s, {u"changed 1:0-1:0"_s});
        add("a value that moves its row", [](Quotes &q) { q.told.update(q.rows[0], 0, qint32(35)); },
            u"B20 C30 A35 D40"_s, {u"layout 0 1"_s, u"changed 2:1-2:1"_s});
        add("a value that leaves its row where it is",
            [](Quotes &q) { q.told.update(q.rows[3], 0, qint32(31)); }, u"A10 B20 C30 D31"_s,
            {u"changed 3:1-3:1"_s});
        add("a value that is absent now", [](Quotes &q) { q.told.update(q.rows[3], 0, std::monostate()); },
            u"D— A10 B20 C30"_s, {u"layout 0 1"_s, u"changed 0:1-0:1"_s});
        add("all columns of a row", [](Quotes &q) { q.told.tell(TableChange::Updated, {q.rows[1]}); },
            u"A10 B20 C30 D40"_s, {u"changed 1:0-1:2"_s});
        add("a column that is not shown", [](Quotes &q) { q.told.update(q.rows[1], 3, decimal(u"1.5"_s)); },
            u"A10 B20 C30 D40"_s, {});
        add("a row written and then removed",
            [](Quotes &q) {
                q.told.update(q.rows[1], 0, qint32(5));
                q.told.remove({q.rows[1]});
            },
            u"A10 C30 D40"_s, {u"removed 1-1"_s});
        add("a row appended, written and removed again",
            [](Quotes &q) {
                const Record row = q.told.append(quote(1, u"E"_s));
                q.told.update(row, 0, qint32(2));
                q.told.remove({row});
            },
            u"A10 B20 C30 D40"_s, {});
        add("a row removed and appended again, behind its equals",
            [](Quotes &q) {
                q.told.append(quote(10, u"E"_s));
                q.told.remove({q.rows[0]});
                q.told.append(q.rows[0]);
            },
            u"E10 A10 B20 C30 D40"_s, {u"removed 0-0"_s, u"inserted 0-1"_s});
        add("rows of another table, and of none",
            [](Quotes &q) { q.told.tell(TableChange::Updated, {Record(&q.told.table)}); },
            u"A10 B20 C30 D40"_s, {});
    }
    void announcesWhatChanged()
    {
        QFETCH(std::function<void(Quotes &)>, change);
        QFETCH(QString, shown);
        QFETCH(QStringList, announced);
        Quotes quotes;
        const Mirror mirror(quotes.model);
        ModelLog log(quotes.model);

        {
            const std::lock_guard lock(quotes.told.table);
            change(quotes);
        }
        QTRY_VERIFY(log.entries().contains(u"shown"_s));

        QCOMPARE(quotes.shown(), shown);
        QCOMPARE(log.take(), QStringList(u"about"_s) + announced + QStringList(u"shown"_s));
        QVERIFY(mirror.isRight());
        QVERIFY(mirror.hasTexts());
        QCOMPARE(quotes.model.totalRowCount(), qsizetype(quotes.told.table.rowCount()));
        QVERIFY(quotes.model.isUpToDate());
        QVERIFY(!quotes.model.isPassRunning());
    }

    void showsRowsInsertedBeforeOthersByAPass()
    {
        Quotes quotes;
        quotes.model.setSortKeys({});
        quotes.model.waitForPass();
        ModelLog log(quotes.model);

        quotes.told.insert(1, {quote(5, u"E"_s), quote(6, u"F"_s)});
        QTRY_VERIFY(log.entries().contains(u"finished"_s));
        quotes.told.append(quote(1, u"G"_s));
        quotes.model.waitForPass();

        QCOMPARE(quotes.shown(), u"A10 E5 F6 B20 C30 D40 G1"_s);
    }

    void asksPredicatesAboutChangedRowsAlone()
    {
        Quotes quotes;
        std::atomic<int> asked = 0;
        auto *filter = new LambdaFilter([&asked, &table = quotes.told.table](const Record &row) {
            ++asked;
            return table.dataPtr(row.row(), 0).value<qint32>() >= 40;
        });
        FilterList filters(quotes.told.table);
        filters.add(filter);
        quotes.model.setFilters(&filters);
        quotes.model.waitForPass();
        QCOMPARE(quotes.shown(), u"A10 B20 C30"_s);
        asked = 0;
        ModelLog log(quotes.model);

        quotes.told.update(quotes.rows[3], 0, qint32(15));
        quotes.told.update(quotes.rows[0], 0, qint32(70));
        quotes.told.update(quotes.rows[0], 0, qint32(80));
        quotes.model.waitForPass();

        QCOMPARE(asked, 2);
        QCOMPARE(quotes.shown(), u"D15 B20 C30"_s);
        QCOMPARE(log.take(), QStringList({u"about"_s, u"removed 0-0"_s, u"inserted 0-0"_s, u"shown"_s}));
    }

    void keepsARemovedRowAliveWhileItIsShown()
    {
        Quotes quotes;
        quotes.rows.clear();
        quotes.told.remove({quotes.told.table.row(1)});

        QCOMPARE(quotes.shown(), u"A10 B20 C30 D40"_s);
        const Record removed = quotes.model.record(1);
        QCOMPARE(quotes.model.rowOf(removed), 1);
        quotes.model.waitForPass();
        QCOMPARE(quotes.shown(), u"A10 C30 D40"_s);
        QCOMPARE(quotes.model.rowOf(removed), -1);
    }

    void keepsSelectionAndCurrentWithTheirRows()
    {
        Quotes quotes;
        QTableView view;
        view.setModel(&quotes.model);
        view.selectionModel()->select(quotes.model.index(3, 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
        view.selectionModel()->setCurrentIndex(quotes.model.index(2, 1), QItemSelectionModel::NoUpdate);

        quotes.told.update(quotes.rows[3], 0, qint32(5));
        quotes.told.update(quotes.rows[2], 0, qint32(3));
        quotes.told.append(quote(1, u"E"_s));
        quotes.told.remove({quotes.rows[0]});
        quotes.model.waitForPass();

        QCOMPARE(quotes.shown(), u"E1 C3 D5 B20"_s);
        QCOMPARE(view.selectionModel()->selectedRows(), QModelIndexList({quotes.model.index(2, 0)}));
        QCOMPARE(view.currentIndex(), quotes.model.index(1, 1));
    }

    void keepsAnEditorWithItsRow()
    {
        Quotes quotes;
        QTableView view;
        view.setModel(&quotes.model);
        view.openPersistentEditor(quotes.model.index(1, 0));
        const QPointer<QWidget> editor = view.indexWidget(quotes.model.index(1, 0));
        QVERIFY(editor);

        quotes.told.append(quote(1, u"E"_s));
        quotes.told.update(quotes.rows[1], 0, qint32(99));
        quotes.model.waitForPass();

        QCOMPARE(quotes.shown(), u"E1 A10 C30 D40 B99"_s);
        QVERIFY(editor);
        QCOMPARE(view.indexWidget(quotes.model.index(4, 0)), editor);
    }

    void showsManyChangesInFewSteps()
    {
        Quotes quotes;
        ModelLog log(quotes.model);

        for (int i = 0; i < 40'000; ++i)
            quotes.told.append(quote(i, u"E"_s));
        quotes.model.waitForPass();

        QCOMPARE(quotes.model.rowCount(), 40'004);
        QVERIFY(log.entries().size() < 20);
    }

    void letsGoOfManyRemovedRows()
    {
        Quotes quotes;
        QList<Record> leaving;
        for (int i = 0; i < 25'000; ++i)
            leaving.append(quotes.told.append(quote(i, u"E"_s)));
        quotes.model.waitForPass();
        quotes.told.remove(leaving);
        leaving.clear();
        quotes.model.waitForPass();
        QCOMPARE(quotes.shown(), u"A10 B20 C30 D40"_s);

        quotes.told.append(quote(15, u"F"_s));
        quotes.model.waitForPass();

        QCOMPARE(quotes.shown(), u"A10 F15 B20 C30 D40"_s);
        QTRY_COMPARE(quotes.told.table.liveRowCount(), 5);
    }

    void needsNoPassWhenManyRowsComeAndGo_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::newRow("in the order of the table") << QList<int>();
        QTest::newRow("by numbers") << QList<int>{0};
        QTest::newRow("by texts and decimals") << QList<int>{2, 3};
        QTest::newRow("by long decimals") << QList<int>{4};
    }
    void needsNoPassWhenManyRowsComeAndGo()
    {
        QFETCH(const QList<int>, keys);
        const quint64 seed = testSeed();
        ToldTable told(u"random"_s, columns);
        Writer writer(told, seed);
        TableModel model(told.table, {unwritten, 0, 2});
        FilterList filters(told.table);
        auto *filter = new ColumnsFilter(told.table, {0});
        filters.add(filter);
        for (int price = -5; price < 5; ++price)
            filter->addExcludedKey(priceKey(price));
        model.setFilters(&filters);
        QList<TableModel::SortKey> sortKeys;
        for (const int key : keys)
            sortKeys.append({key, key % 2 ? Qt::DescendingOrder : Qt::AscendingOrder});
        model.setSortKeys(sortKeys);
        model.follow(&told.changes);
        model.waitForPass();
        const Mirror mirror(model);
        const ModelLog log(model);
        std::vector<std::pair<QPersistentModelIndex, Record>> kept;
        for (const Record &row : std::as_const(writer.untouched)) {
            if (model.rowOf(row) >= 0)
                kept.emplace_back(model.index(model.rowOf(row), 1), row);
        }

        for (int round = 0; round < 12; ++round) {
            const QByteArray about = seedMessage(seed, u"round %1"_s.arg(round));
            writer.changeMany();
            model.waitForPass();

            TableModel fresh(told.table, {unwritten, 0, 2});
            fresh.setFilters(&filters);
            fresh.setSortKeys(sortKeys);
            fresh.waitForPass();
            QVERIFY2(shownRows(model) == shownRows(fresh), about.constData());
            QVERIFY2(model.totalRowCount() == fresh.totalRowCount(), about.constData());
            QVERIFY2(mirror.isRight() && mirror.hasTexts(), about.constData());
            for (const auto &[index, row] : kept)
                QVERIFY2(index.row() == model.rowOf(row), about.constData());
        }
        QVERIFY(!log.entries().contains(u"started"_s));
        // Rows that are gone are not kept for long.
        const auto rows = told.table.rowCount();
        QTRY_VERIFY2(told.table.liveRowCount() < rows + rows / 2 + 2048,
                     qPrintable(u"%1 of %2"_s.arg(told.table.liveRowCount()).arg(rows)));
    }

    void goesOnAfterAFailure_data()
    {
        QTest::addColumn<bool>("reloads");
        QTest::newRow("by listing the rows again") << true;
        QTest::newRow("by sorting and filtering again") << false;
    }
    void goesOnAfterAFailure()
    {
        QFETCH(const bool, reloads);
        Quotes quotes;
        std::atomic<bool> isBroken = false;
        auto *filter = new LambdaFilter([&isBroken](const Record &) -> bool {
            if (isBroken)
                throw std::runtime_error("broken");
            return false;
        });
        FilterList filters(quotes.told.table);
        filters.add(filter);
        quotes.model.setFilters(&filters);
        quotes.model.waitForPass();
        ModelLog log(quotes.model);

        isBroken = true;
        quotes.told.append(quote(15, u"E"_s));
        QTRY_VERIFY(log.entries().contains(u"failed: broken"_s));
        quotes.told.append(quote(16, u"F"_s));
        QCOMPARE(quotes.shown(), u"A10 B20 C30 D40"_s);
        QVERIFY(!quotes.model.isUpToDate());
        QVERIFY(quotes.model.hasChangesToShow());

        isBroken = false;
        if (reloads)
            quotes.model.reload();
        else
            quotes.model.setSortKeys(quotes.model.sortKeys());
        QTRY_VERIFY(!quotes.model.hasChangesToShow());
        QCOMPARE(quotes.shown(), u"A10 E15 F16 B20 C30 D40"_s);
        quotes.told.append(quote(17, u"G"_s));
        quotes.model.waitForPass();
        QCOMPARE(quotes.shown(), u"A10 E15 F16 G17 B20 C30 D40"_s);
    }

    void followsNoLonger()
    {
        Quotes quotes;
        quotes.model.follow(nullptr);
        QVERIFY(!quotes.model.followed());
        QVERIFY(!quotes.told.changes.isHeard());

        quotes.told.append(quote(15, u"E"_s));
        quotes.model.waitForPass();
        QCOMPARE(quotes.model.rowCount(), 4);

        quotes.model.follow(&quotes.told.changes);
        QCOMPARE(quotes.model.followed(), &quotes.told.changes);
        quotes.model.waitForPass();
        QCOMPARE(quotes.model.rowCount(), 5);
    }

    void readsManyCellsUnderOneLock()
    {
        Quotes quotes;
        const auto texts = [&] {
            QStringList list;
            for (int row = 0; row < 4; ++row) {
                for (int section = 0; section < 2; ++section)
                    list.append(quotes.model.index(row, section).data().toString());
            }
            return list.join(u' ');
        };
        QCOMPARE(texts(), u"A 10 B 20 C 30 D 40"_s);

        quotes.model.readCells(1, 2, {1}, [&] {
            // A writer does not wait until they are used.
            QVERIFY(OtherLocker(quotes.told.table).gets(10s));
            quotes.told.update(quotes.rows[1], 0, qint32(21));
            quotes.told.update(quotes.rows[3], 0, qint32(41));
            // Only what was asked for was read.
            QCOMPARE(texts(), u"A 10 B 20 C 30 D 41"_s);
            // For the roles with which no view paints there is what the row holds.
            QCOMPARE(quotes.model.index(1, 1).data(Qt::EditRole), u"21"_s);
        });
        QCOMPARE(texts(), u"A 10 B 21 C 30 D 41"_s);

        quotes.model.follow(nullptr);
        quotes.model.readCells(0, 3, {0, 1}, [&] {
            QVERIFY(OtherLocker(quotes.told.table).gets(10s));
            quotes.told.update(quotes.rows[1], 0, qint32(22));
            QCOMPARE(texts(), u"A 10 B 22 C 30 D 41"_s);
        });
    }

    void readsWhatIsPainted()
    {
        Quotes quotes;
        quotes.told.append({CellValue(), u"E"_s, CellValue(), decimal(), xdecimal(), datetime(), 0.5});
        quotes.model.waitForPass();
        const QList<int> roles{Qt::DisplayRole,    Qt::TextAlignmentRole,      Qt::FontRole,
                               Qt::ForegroundRole, Qt::BackgroundRole,         Qt::DecorationRole,
                               Qt::CheckStateRole, Qt::AccessibleTextRole,     Qt::EditRole,
                               Qt::ToolTipRole,    TableModel::ColumnRole,     TableModel::AbsentRole,
                               Qt::SizeHintRole,   TableModel::FirstUnusedRole};
        const auto all = [&] {
            QVariantList list;
            for (int row = 0; row < quotes.model.rowCount(); ++row) {
                for (int section = 0; section < 2; ++section) {
                    for (const int role : roles)
                        list.append(quotes.model.index(row, section).data(role));
                }
            }
            return list;
        };
        const QVariantList expected = all();
        QVERIFY(expected.contains(QVariant(u"—"_s)));
        // Rows that there are not are left out.
        quotes.model.readCells(-3, 99, {1, 0}, [&] { QCOMPARE(all(), expected); });
    }

    void letsGoOfCellsWhenOtherRowsAreShown()
    {
        Quotes quotes;
        quotes.model.readCells(0, 3, {0, 1}, [&] {
            quotes.told.remove({quotes.rows[0]});
            quotes.model.waitForPass();
            QCOMPARE(quotes.shown(), u"B20 C30 D40"_s);
        });
    }

    // What was told before a listing is shown by it, and never taken.
    void isWokenAfterAListing()
    {
        Quotes quotes;
        quotes.told.append(quote(15, u"E"_s));
        quotes.model.reload();
        quotes.model.waitForPass();
        QCOMPARE(quotes.shown(), u"A10 E15 B20 C30 D40"_s);
        QCoreApplication::processEvents();

        quotes.told.append(quote(16, u"F"_s));

        QTRY_COMPARE(quotes.shown(), u"A10 E15 F16 B20 C30 D40"_s);
    }

    void tellsWhetherThereAreChangesToShow()
    {
        Quotes quotes;
        QVERIFY(!quotes.model.hasChangesToShow());

        quotes.told.append(quote(15, u"E"_s));
        QVERIFY(quotes.model.hasChangesToShow());
        QTRY_COMPARE(quotes.model.rowCount(), 5);
        QVERIFY(!quotes.model.hasChangesToShow());

        // A listing shows what was told before it.
        quotes.told.append(quote(16, u"F"_s));
        quotes.model.reload();
        QTRY_VERIFY(!quotes.model.isPassRunning());
        QVERIFY(!quotes.model.hasChangesToShow());
        quotes.told.append(quote(17, u"G"_s));
        quotes.model.follow(nullptr);
        QVERIFY(!quotes.model.hasChangesToShow());
    }

    void listensNoLongerThanItLives()
    {
        ToldTable told(u"quotes"_s, columns);
        auto model = std::make_unique<TableModel>(told.table, QList<int>{0});
        model->follow(&told.changes);
        model->waitForPass();
        told.append(quote(15, u"E"_s));

        model.reset();

        QVERIFY(!told.changes.isHeard());
        told.append(quote(16, u"F"_s));
    }

    void followsARandomWriter_data()
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<bool>("withInsertions");
        QTest::newRow("one thread") << 1 << false;
        QTest::newRow("three threads") << 3 << false;
        QTest::newRow("rows inserted before others") << 0 << true;
    }
    void followsARandomWriter()
    {
        QFETCH(int, threads);
        QFETCH(bool, withInsertions);
        constexpr int rounds = 4;
        constexpr int changes = 400;
        const quint64 seed = testSeed();
        QRandomGenerator random{quint32(seed)};
        const QByteArray about = seedMessage(seed, QString());
        ToldTable told(u"random"_s, columns);
        Writer writer(told, seed);
        const QList<int> sections{unwritten, 0, 2, 3, 4, 6};

        TableModel model(told.table, sections);
        model.setThreadCount(threads);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
        FilterList filters(told.table);
        auto *filter = new ColumnsFilter(told.table, {0});
        filters.add(filter);
        // So slow that a pass lets go of the lock several times.
        std::atomic<int> asked = 0;
        filters.add(new LambdaFilter([&asked](const Record &) {
            if (++asked % 200 == 0)
                QThread::usleep(1000);
            return false;
        }));
        model.setFilters(&filters);
        model.follow(&told.changes);
        model.waitForPass();
        const Mirror mirror(model);
        QTableView view;
        view.setModel(&model);
        view.show();

        for (int round = 0; round < rounds; ++round) {
            std::vector<std::pair<QPersistentModelIndex, Record>> kept;
            view.clearSelection();
            for (const Record &row : std::as_const(writer.untouched)) {
                const int place = model.rowOf(row);
                if (place < 0)
                    continue;
                kept.emplace_back(model.index(place, 1), row);
                view.selectionModel()->select(model.index(place, 0), QItemSelectionModel::Select);
                view.selectionModel()->setCurrentIndex(model.index(place, 1), QItemSelectionModel::NoUpdate);
            }
            const bool isFiltering = round % 2 == 1;

            std::atomic<bool> isWriting = true;
            std::thread thread([&] {
                for (int i = 0; i < changes; ++i)
                    writer.change(withInsertions);
                isWriting = false;
            });
            // Once more than the writer needs, so that what is left is followed, too.
            for (bool isLast = false; !isLast;) {
                isLast = !isWriting;
                QCoreApplication::processEvents();
                if (isFiltering && random.bounded(4) == 0) {
                    filter->clear();
                    for (int price = -20; price < 20; ++price) {
                        if (random.bounded(3) == 0)
                            filter->addExcludedKey(priceKey(price));
                    }
                    filter->setEnabled(random.bounded(3) != 0);
                } else if (isFiltering && random.bounded(4) == 0) {
                    QList<TableModel::SortKey> keys;
                    for (int count = int(random.bounded(3)); count > 0; --count)
                        keys.append({int(random.bounded(int(columns.size()))),
                                     random.bounded(2) ? Qt::AscendingOrder : Qt::DescendingOrder});
                    model.setSortKeys(keys);
                } else if (isFiltering && random.bounded(8) == 0) {
                    model.reload();
                }
            }
            thread.join();
            if (random.bounded(2))
                QTRY_VERIFY_WITH_TIMEOUT(model.totalRowCount() == told.table.rowCount(), 20'000);
            model.waitForPass();

            TableModel fresh(told.table, sections);
            fresh.setFilters(&filters);
            fresh.setSortKeys(model.sortKeys());
            fresh.waitForPass();
            QVERIFY2(shownRows(model) == shownRows(fresh), about.constData());
            QCOMPARE(model.totalRowCount(), fresh.totalRowCount());
            QVERIFY2(mirror.isRight(), about.constData());
            QVERIFY2(mirror.hasTexts(), about.constData());
            for (int row = 0; row < model.rowCount(); ++row)
                QCOMPARE(model.rowOf(model.record(row)), row);
            for (const auto &[index, row] : kept) {
                QVERIFY2(isFiltering || index.isValid(), about.constData());
                QVERIFY2(!index.isValid() || model.record(index.row()) == row, about.constData());
            }
            if (!isFiltering && !kept.empty()) {
                QVERIFY2(model.record(view.currentIndex().row()) == kept.back().second, about.constData());
                QCOMPARE(view.selectionModel()->selectedIndexes().size(), qsizetype(kept.size()));
            }
        }
    }
};

QTEST_MAIN(tst_TableModel_Follow)
#include "tst_tablemodel_follow.moc"

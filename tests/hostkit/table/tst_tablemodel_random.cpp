// SPDX-License-Identifier: MIT
// A seeded script of filtering, sorting and reloading beside a plain oracle, under the model tester and with a
// view attached.
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>

#include <database/memorytable.h>

#include <data/indexlist.h>
#include <filterfuncs/filterfunc.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <cmath>
#include <limits>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SITO_THREAD_SANITIZED
#endif
#endif
#if defined(__SANITIZE_THREAD__) || defined(SITO_THREAD_SANITIZED)
constexpr bool isThreadSanitized = true;
#else
constexpr bool isThreadSanitized = false;
#endif

/// A table with a column of every type, many equal values and all the odd ones.
class RandomTable
{
public:
    explicit RandomTable(QRandomGenerator &random) : m_random(random) {}

    MemoryTable table{u"random"_s,
                      {{.name = u"int"_s, .type = FieldType::Int},
                       {.name = u"int_null"_s, .type = FieldType::Int, .nullable = true},
                       {.name = u"int64"_s, .type = FieldType::Int64, .nullable = true},
                       {.name = u"double"_s, .type = FieldType::Double, .nullable = true},
                       {.name = u"decimal"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                       {.name = u"scales"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                       {.name = u"xdecimal"_s, .type = FieldType::XDecimal, .nullable = true, .length = 2},
                       {.name = u"varchar"_s, .type = FieldType::VarChar, .nullable = true, .length = 8},
                       {.name = u"string"_s, .type = FieldType::String, .nullable = true},
                       {.name = u"time"_s, .type = FieldType::DateTime, .nullable = true},
                       {.name = u"raw"_s, .type = FieldType::Raw, .nullable = true, .length = 1},
                       {.name = u"code"_s, .type = FieldType::VarChar, .nullable = true, .length = 16}}};

    QList<CellValue> row()
    {
        QList<CellValue> values{qint32(below(20) - 10),
                                qint32(below(1000) - 500),
                                int64(),
                                real(),
                                decimal::fromUnscaled(below(500) - 250, 2),
                                decimal::fromUnscaled(below(500) - 250, short(below(5))),
                                xdecimal(below(500) - 250, short(below(4))),
                                text().left(8),
                                text(),
                                datetime(below(10) * 1000),
                                QByteArray(1, char(below(5))),
                                code()};
        for (int column = 1; column < values.size(); ++column) {
            if (below(8) == 0)
                values[column] = std::monostate();
        }
        return values;
    }

    int below(int bound) { return int(m_random.bounded(bound)); }

private:
    CellValue int64()
    {
        switch (below(6)) {
        case 0:
            return std::numeric_limits<qint64>::min();
        case 1:
            return std::numeric_limits<qint64>::max();
        default:
            return qint64(below(10) - 5) << below(60);
        }
    }

    CellValue real()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const QList<double> odd{std::nan(""), infinity, -infinity, 0.0,  -0.0,
                                5e-324,       -5e-324,  1.5,       -1.5, 1e308};
        return odd[below(int(odd.size()))];
    }

    QString text()
    {
        const QString alphabet = u"ab\u0000Яя\U0001F600\uFFFF"_s;
        QString result = below(2) ? u"same"_s : QString();
        for (int length = below(4); length > 0; --length)
            result += alphabet[below(int(alphabet.size()))];
        // Texts that end in NUL cannot be told from shorter ones in a VarChar column.
        while (result.endsWith(QChar(u'\0')))
            result.chop(1);
        return result;
    }

    /// Mostly Latin texts with a common beginning.
    QString code()
    {
        const QString alphabet = u"0123456789ABCDEFGH\u00FE\u00FF\u0100Я"_s;
        QString result = below(50) ? u"CODE"_s : below(2) ? u"COD"_s : u"CODя"_s;
        for (int length = below(11); length > 0; --length)
            result += alphabet[below(20) ? below(18) : below(int(alphabet.size()))];
        return result;
    }

    QRandomGenerator &m_random;
};

/// Field::compare() with NaN behind all numbers.
int compare(const Field &a, const Field &b)
{
    if (a.def->type == FieldType::Double && a.isPresent() && b.isPresent()) {
        const bool x = std::isnan(a.value<double>());
        const bool y = std::isnan(b.value<double>());
        if (x || y)
            return int(x) - int(y);
    }
    return a.compare(b);
}

/// What a model over \a table is to show, by the simplest means.
std::vector<unsigned char *> expectedRows(const Table &table, const std::vector<Record> &listed,
                                          const QList<TableModel::SortKey> &keys, const FilterList &filters)
{
    const auto predicates = filters.createFilterFuncs();
    std::vector<unsigned char *> rows;
    for (const Record &row : listed) {
        if (std::none_of(predicates.begin(), predicates.end(),
                         [&](const auto &predicate) { return predicate->filter(row); }))
            rows.push_back(row.row());
    }
    std::stable_sort(rows.begin(), rows.end(), [&](unsigned char *a, unsigned char *b) {
        for (const TableModel::SortKey &key : keys) {
            const int order = compare(table.dataPtr(a, key.column), table.dataPtr(b, key.column));
            if (order != 0)
                return key.order == Qt::AscendingOrder ? order < 0 : order > 0;
        }
        return false;
    });
    return rows;
}

std::vector<unsigned char *> shownRows(const TableModel &model)
{
    std::vector<unsigned char *> rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.push_back(model.record(row).row());
    return rows;
}

std::vector<Record> listedRows(const Table &table)
{
    std::vector<Record> rows;
    for (unsigned char *row : *table.masterIndex())
        rows.emplace_back(row);
    return rows;
}

} // namespace

class tst_TableModel_Random : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void showsWhatTheOracleShows_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one thread") << 1;
        QTest::newRow("three threads") << 3;
        QTest::newRow("a thread a core") << 0;
    }
    void showsWhatTheOracleShows()
    {
        QFETCH(int, threads);
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ (seed >> 32)));
        RandomTable data(random);
        MemoryTable &table = data.table;
        for (int i = 0; i < 300; ++i)
            table.append(data.row());

        TableModel model(table, {8, 0, 3, 7, 2});
        model.setThreadCount(threads);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
        QTableView view;
        view.setModel(&model);
        view.horizontalHeader()->moveSection(0, 3);
        view.horizontalHeader()->resizeSection(2, 37);
        view.hideColumn(1);
        view.resize(400, 300);
        view.show();

        FilterList filters(table);
        const QList<QList<int>> filtered{{0}, {1, 8}, {3}, {7}, {2, 9}};
        for (const QList<int> &columns : filtered)
            filters.add(new ColumnsFilter(table, columns));
        model.setFilters(&filters);

        std::vector<Record> listed = listedRows(table);
        QString script;
        for (int step = 0; step < 150; ++step) {
            // Given a selection, a current index and indexes that somebody keeps.
            std::vector<unsigned char *> selected;
            std::vector<std::pair<QPersistentModelIndex, Record>> kept;
            Record current;
            view.clearSelection();
            if (model.rowCount() > 0) {
                for (int i = 0; i < 5; ++i) {
                    const int row = data.below(model.rowCount());
                    view.selectionModel()->select(model.index(row, 0),
                                                  QItemSelectionModel::Select | QItemSelectionModel::Rows);
                    const QModelIndex index = model.index(data.below(model.rowCount()), data.below(5));
                    kept.emplace_back(index, model.record(index.row()));
                }
                const QModelIndexList rows = view.selectionModel()->selectedRows();
                for (const QModelIndex &index : rows)
                    selected.push_back(model.record(index.row()).row());
                const int row = data.below(model.rowCount());
                view.selectionModel()->setCurrentIndex(model.index(row, 2), QItemSelectionModel::NoUpdate);
                current = model.record(row);
            }

            // When something is changed, once or several times before the pass.
            for (int changes = 1 + data.below(3); changes > 0; --changes) {
                const int action = data.below(10);
                script += QString::number(action) + u' ';
                if (action < 4) {
                    auto *filter =
                        static_cast<ColumnsFilter *>(filters.filters().at(data.below(int(filtered.size()))));
                    filter->clear();
                    for (int keys = data.below(40); keys > 0 && table.rowCount() > 0; --keys)
                        filter->addExcludedKey(
                            filter->keyFromRecord(table.row(data.below(int(table.rowCount())))));
                    filter->setEnabled(data.below(4) != 0);
                } else if (action < 6) {
                    model.sort(data.below(6) - 1, data.below(2) ? Qt::AscendingOrder : Qt::DescendingOrder);
                } else if (action < 8) {
                    QList<TableModel::SortKey> keys;
                    for (int count = data.below(4); count > 0; --count)
                        keys.append({data.below(table.columnCount()),
                                     data.below(2) ? Qt::AscendingOrder : Qt::DescendingOrder});
                    model.setSortKeys(keys);
                } else {
                    const auto somewhere = [&] { return data.below(int(table.rowCount()) + 1); };
                    if (data.below(2))
                        table.insert(somewhere(), {data.row(), data.row(), data.row()});
                    QList<Record> removed;
                    for (const Record &row : listedRows(table)) {
                        if (data.below(data.below(20) ? 30 : 3) == 0)
                            removed.append(row);
                    }
                    table.remove(removed);
                    if (data.below(2)) {
                        for (int count = data.below(20); count > 0; --count)
                            table.append(data.row());
                    }
                    listed = listedRows(table);
                    model.reload();
                }
            }
            if (data.below(3) == 0) {
                QTRY_VERIFY(!model.isPassRunning());
            } else {
                if (data.below(2) == 0) {
                    QCoreApplication::processEvents();
                    model.setSortKeys({{data.below(table.columnCount()), Qt::DescendingOrder}});
                }
                model.waitForPass();
            }

            // Then the rows are those of the oracle, and all follow theirs.
            const QByteArray about = seedMessage(seed, script);
            const auto expected = expectedRows(table, listed, model.sortKeys(), filters);
            QVERIFY2(shownRows(model) == expected, about.constData());
            QCOMPARE(model.totalRowCount(), qsizetype(listed.size()));
            const auto isShown = [&](const unsigned char *row) {
                return std::find(expected.begin(), expected.end(), row) != expected.end();
            };
            for (const auto &[index, record] : kept) {
                QVERIFY2(index.isValid() == isShown(record.row()), about.constData());
                QVERIFY2(!index.isValid() || model.record(index.row()) == record, about.constData());
            }
            for (const Record &row : listed) {
                const int place = model.rowOf(row);
                QVERIFY2(place < 0 ? !isShown(row.row()) : expected[size_t(place)] == row.row(),
                         about.constData());
            }
            std::erase_if(selected, [&](const unsigned char *row) { return !isShown(row); });
            std::vector<unsigned char *> stillSelected;
            const QModelIndexList rows = view.selectionModel()->selectedRows();
            for (const QModelIndex &index : rows)
                stillSelected.push_back(model.record(index.row()).row());
            std::sort(selected.begin(), selected.end());
            std::sort(stillSelected.begin(), stillSelected.end());
            QVERIFY2(selected == stillSelected, about.constData());
            if (isShown(current.row())) {
                QVERIFY2(model.record(view.currentIndex().row()) == current, about.constData());
                QCOMPARE(view.currentIndex().column(), 2);
            }
            QCOMPARE(view.horizontalHeader()->visualIndex(0), 3);
            QCOMPARE(view.horizontalHeader()->sectionSize(2), 37);
            QVERIFY(view.isColumnHidden(1));
            QCOMPARE(view.verticalHeader()->count(), model.rowCount());
        }
    }

    // Enough rows for several chunks of every kind of work.
    void sortsManyRowsByEveryColumn_data()
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<int>("count");
        QTest::newRow("one thread, one chunk") << 1 << 15'000;
        QTest::newRow("one thread") << 1 << 35'000;
        QTest::newRow("four threads") << 4 << 70'000;
    }
    void sortsManyRowsByEveryColumn()
    {
        QFETCH(int, threads);
        QFETCH(int, count);
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ (seed >> 32)));
        RandomTable data(random);
        QList<QList<CellValue>> rows;
        for (int i = count + data.below(5'000); i > 0; --i)
            rows.append(data.row());
        data.table.append(rows);
        TableModel model(data.table, {0});
        model.setThreadCount(threads);
        const FilterList filters(data.table);
        const std::vector<Record> listed = listedRows(data.table);

        // One thread merges as several do, and the thread sanitizer takes its time: some of the columns are
        // enough.
        const int step = threads == 1 || isThreadSanitized ? 4 : 1;
        for (int column = data.below(step); column < data.table.columnCount(); column += step) {
            const QList<TableModel::SortKey> keys{
                {column, data.below(2) ? Qt::AscendingOrder : Qt::DescendingOrder}, {1}};

            model.setSortKeys(keys);
            model.waitForPass();

            QVERIFY2(shownRows(model) == expectedRows(data.table, listed, keys, filters),
                     seedMessage(seed, data.table.columnName(column)).constData());
        }
    }
};

QTEST_MAIN(tst_TableModel_Random)
#include "tst_tablemodel_random.moc"

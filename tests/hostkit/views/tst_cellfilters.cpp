// SPDX-License-Identifier: MIT
#include <hostkit/views/cellfilters.h>

#include <database/memorytable.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>

#include <support/exceptions.h>
#include <support/seed.h>
#include <support/typenames.h>

#include <QListView>
#include <QRandomGenerator>
#include <QTest>

#include <limits>
#include <memory>
#include <numeric>
#include <set>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_CellFilters : public QObject
{
    Q_OBJECT

    enum Column { Id, Name, Real, Bytes, Opaque };

    std::unique_ptr<MemoryTable> m_table;
    std::unique_ptr<FilterList> m_filters;
    std::unique_ptr<TableModel> m_model;
    QStringList m_told;

    /// The shown rows by their ids.
    QString shown() const
    {
        m_model->waitForPass();
        QStringList ids;
        for (int row = 0; row < m_model->rowCount(); ++row)
            ids.append(m_model->record(row).field(Id).toString());
        return ids.join(u' ');
    }
    QModelIndexList cells(std::initializer_list<std::pair<int, Column>> places) const
    {
        QModelIndexList result;
        for (const auto &[row, column] : places)
            result.append(m_model->index(row, m_model->section(column)));
        return result;
    }
    QModelIndexList rows(std::initializer_list<int> numbers) const
    {
        QModelIndexList result;
        for (const int row : numbers) {
            for (int section = 0; section < m_model->columnCount(); ++section)
                result.append(m_model->index(row, section));
        }
        return result;
    }

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table = std::make_unique<MemoryTable>(
            u"t"_s,
            QList<ColumnSpec>{{.name = u"id"_s, .type = FieldType::Int},
                              {.name = u"name"_s, .type = FieldType::String, .nullable = true},
                              {.name = u"real"_s, .type = FieldType::Double},
                              {.name = u"bytes"_s, .type = FieldType::Raw, .nullable = true, .length = 2},
                              {.name = u"opaque"_s, .type = FieldType::Block, .nullable = true}});
        const double nan = std::numeric_limits<double>::quiet_NaN();
        m_table->append({1, u"a"_s, 0.5, {}, {}});
        m_table->append({2, u"b"_s, 0.5, {}, {}});
        m_table->append({3, u"a"_s, 1.5, {}, {}});
        m_table->append({4, {}, 1.5, {}, {}});
        m_table->append({5, u""_s, nan, {}, {}});
        m_filters = std::make_unique<FilterList>(*m_table);
        m_model = std::make_unique<TableModel>(*m_table, QList<int>{Opaque, Bytes, Real, Name, Id});
        m_model->setFilters(m_filters.get());
        m_model->waitForPass();
        m_told.clear();
        connect(m_filters.get(), &FilterList::added, this, [this] { m_told.append(u"added"_s); });
        connect(m_filters.get(), &FilterList::filterChanged, this,
                [this](const Filter *filter) { m_told.append(u"filterChanged "_s + filter->value()); });
        connect(m_filters.get(), &FilterList::changed, this, [this] { m_told.append(u"changed"_s); });
    }
    void cleanup()
    {
        m_model.reset();
        m_filters.reset();
        m_table.reset();
    }

    void hidesTheValuesOfCells()
    {
        Filter *filter = hideValues(*m_filters, *m_model, cells({{0, Name}, {3, Name}, {2, Name}}));

        QCOMPARE(shown(), u"2 5"_s);
        QCOMPARE(m_filters->filters(), QList<Filter *>{filter});
        QVERIFY(qobject_cast<ValueListFilter *>(filter));
        QVERIFY(filter->isEnabled());
        QCOMPARE(filter->value(), u"␀|a"_s);
        QCOMPARE(m_told, QStringList({u"added"_s, u"changed"_s}));
    }

    void addsToTheFilterThatIsThere()
    {
        Filter *filter = hideValues(*m_filters, *m_model, cells({{0, Name}}));
        m_model->waitForPass();
        m_told.clear();

        QCOMPARE(hideValues(*m_filters, *m_model, cells({{0, Name}})), filter);
        QCOMPARE(shown(), u"4 5"_s);
        QCOMPARE(m_told, QStringList({u"filterChanged a|b"_s, u"changed"_s}));

        filter->setEnabled(false);
        QCOMPARE(shown(), u"1 2 3 4 5"_s);
        m_told.clear();
        QCOMPARE(hideValues(*m_filters, *m_model, cells({{0, Name}, {4, Name}})), filter);
        QCOMPARE(shown(), u"4"_s);
        QCOMPARE(m_told, QStringList({u"filterChanged |a|b"_s, u"changed"_s}));
        QCOMPARE(m_filters->filters().size(), 1);
    }

    void makesOneKeyOfSeveralColumns()
    {
        Filter *filter = hideValues(*m_filters, *m_model, cells({{0, Name}, {0, Real}, {2, Real}}));

        // Both columns count in both rows, in the order in which they are shown.
        QCOMPARE(filter->value(), u"0.5,a|1.5,a"_s);
        QCOMPARE(shown(), u"2 4 5"_s);
        QCOMPARE(static_cast<ValueListFilter *>(filter)->columns(), QList<int>({Real, Name}));
    }

    void findsTheFilterOverTheSameColumnsInAnyOrder()
    {
        auto *filter = new ValueListFilter(*m_table, {Name, Real});
        m_filters->add(filter);

        QCOMPARE(hideValues(*m_filters, *m_model, cells({{0, Real}, {0, Name}})), filter);

        QCOMPARE(filter->value(), u"a,0.5"_s);
        QCOMPARE(shown(), u"2 3 4 5"_s);
    }

    void takesWholeRowsWithoutWhatIsNeverCompared()
    {
        Filter *filter = hideValues(*m_filters, *m_model, rows({1, 3}));

        QCOMPARE(static_cast<ValueListFilter *>(filter)->columns(), QList<int>({Real, Name, Id}));
        QCOMPARE(shown(), u"1 3 5"_s);
    }

    void showsOnlyTheValuesOfCells()
    {
        Filter *filter = showOnlyValues(*m_filters, *m_model, cells({{0, Name}, {3, Name}}));

        QVERIFY(qobject_cast<ShowOnlyFilter *>(filter));
        QCOMPARE(shown(), u"1 3 4"_s);
        QCOMPARE(m_told, QStringList({u"added"_s, u"changed"_s}));
        m_told.clear();
        QCOMPARE(showOnlyValues(*m_filters, *m_model, cells({{2, Name}})), filter);
        QCOMPARE(filter->value(), u"␀"_s);
        QCOMPARE(shown(), u"4"_s);
        QCOMPARE(m_told, QStringList({u"filterChanged ␀"_s, u"changed"_s}));

        // Hiding is another filter, over the same columns, too.
        QVERIFY(hideValues(*m_filters, *m_model, cells({{0, Name}})) != filter);
        QCOMPARE(shown(), QString());
        QCOMPARE(m_filters->filters().size(), 2);
    }

    void newFilterOffersWhatTheOthersLeave()
    {
        hideValues(*m_filters, *m_model, cells({{0, Real}}));
        QCOMPARE(shown(), u"3 4"_s); // a NaN equals 0.5
        Filter *names = hideValues(*m_filters, *m_model, cells({{0, Name}}));
        const std::unique_ptr<QWidget> widget(names->createFilterWidget(nullptr));

        names->init(widget.get());

        QTRY_VERIFY(qobject_cast<ValueListWidget *>(widget.get())->isReady());
        const QAbstractItemModel *values = widget->findChild<QListView *>()->model();
        QCOMPARE(values->rowCount(), 2);
        QCOMPARE(values->index(0, 0).data().toString(), u"(нет значения)"_s);
        QCOMPARE(values->index(1, 0).data().toString(), u"a"_s);
        QCOMPARE(values->index(1, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    }

    void refusesSelectionsWithoutAKey_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("message");
        QTest::newRow("nothing") << u"nothing"_s << u"Не выделено ни одной ячейки"_s;
        QTest::newRow("bytes")
            << u"bytes"_s
            << u"В выделенных столбцах нет значений, которые можно сравнивать: все они двоичные"_s;
        QTest::newRow("not a number")
            << u"nan"_s
            << u"В столбце «real» выделено «не число»: оно равно любому числу, и отбор по нему невозможен"_s;
    }
    void refusesSelectionsWithoutAKey()
    {
        QFETCH(QString, what);
        QFETCH(QString, message);
        QModelIndexList selection;
        if (what == u"bytes")
            selection = cells({{0, Bytes}, {1, Opaque}});
        else if (what == u"nan")
            selection = cells({{0, Real}, {4, Real}});

        QCOMPARE(exceptionMessage([&] { hideValues(*m_filters, *m_model, selection); }), message);
        QCOMPARE(exceptionMessage([&] { showOnlyValues(*m_filters, *m_model, selection); }), message);

        QCOMPARE(m_filters->filters(), QList<Filter *>());
        QCOMPARE(m_told, QStringList());
    }

    void keepsKeysThatAreInNoOrder()
    {
        auto *filter = new ValueListFilter(*m_table, {Real});
        m_filters->add(filter);
        QList<KeyValue> keys;
        for (const QString &text : {u"0.25"_s, u"nan"_s, u"7"_s}) {
            FieldValue field(m_table.get(), Real);
            field.fromText(text);
            keys.append(KeyValue({field}));
        }
        keys.append(KeyValue({FieldValue(m_table->row(0).field(Name))}));
        filter->setAllExcludedKeys(keys);

        announceReport(withTypeNames(u"Can't convert from 'a' to Double"_s));
        hideValues(*m_filters, *m_model, cells({{2, Real}}));
        m_model->waitForPass();

        QStringList texts;
        for (const KeyValue &key : filter->getAllExcludedKeys())
            texts.append(key.first().toText());
        texts.sort();
        QCOMPARE(texts, QStringList({u"0.25"_s, u"1.5"_s, u"7"_s, u"a"_s, u"nan"_s}));
    }

    void cutsWhatKeysHaveBehindTheLastColumn()
    {
        auto *filter = new ValueListFilter(*m_table, {Name});
        m_filters->add(filter);
        const Record row = m_table->row(0);
        filter->setAllExcludedKeys({KeyValue({FieldValue(row.field(Name)), FieldValue(row.field(Real))})});

        hideValues(*m_filters, *m_model, cells({{0, Name}, {1, Name}}));

        QCOMPARE(filter->value(), u"a|b"_s);
        QCOMPARE(shown(), u"4 5"_s);
    }

    void refusesToAddToKeysThatAreTooShort()
    {
        auto *filter = new ValueListFilter(*m_table, {Name, Real});
        m_filters->add(filter);
        const QList<KeyValue> keys = {KeyValue({FieldValue(m_table->row(1).field(Name))})};
        filter->setAllExcludedKeys(keys);

        QCOMPARE(exceptionMessage([&] {
                     hideValues(*m_filters, *m_model, cells({{0, Name}, {0, Real}}));
                 }),
                 u"Ключ «b»: число значений (1) не равно числу столбцов (2)"_s);

        QCOMPARE(filter->getAllExcludedKeys().size(), 1);
        QVERIFY(!filter->isEnabled());
    }

    void hidesManyRowsAtOnce()
    {
        QList<QList<CellValue>> many;
        for (int i = 0; i < 20'000; ++i)
            many.append({1000 + i, u"m"_s, 0.25, {}, {}});
        m_table->append(many);
        m_model->reload();
        m_model->waitForPass();
        QModelIndexList selection;
        for (int row = 5; row < m_model->rowCount(); ++row)
            selection.append(m_model->index(row, m_model->section(Id)));

        const Filter *filter = hideValues(*m_filters, *m_model, selection);

        QCOMPARE(static_cast<const ValueListFilter *>(filter)->getAllExcludedKeys().size(), 20'000);
        QCOMPARE(shown(), u"1 2 3 4 5"_s);
    }

    void takesEachValueOfManyRowsOnce()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        MemoryTable table(u"many"_s, {{.name = u"int"_s, .type = FieldType::Int, .nullable = true},
                                      {.name = u"long"_s, .type = FieldType::Int64},
                                      {.name = u"text"_s, .type = FieldType::String, .nullable = true},
                                      {.name = u"short"_s, .type = FieldType::VarChar, .length = 8},
                                      {.name = u"real"_s, .type = FieldType::Double},
                                      {.name = u"price"_s, .type = FieldType::Decimal, .length = 2},
                                      {.name = u"wide"_s, .type = FieldType::XDecimal, .length = 2}});
        for (int i = 0; i < 6000; ++i) {
            const int number = random.bounded(40);
            table.append({random.bounded(9) ? CellValue(number) : CellValue(), qint64(number) << 40,
                          random.bounded(9) ? CellValue(u"text %1"_s.arg(number)) : CellValue(),
                          QString::number(random.bounded(40)),
                          (random.bounded(9) - 4) * (number % 2 ? 0.0 : 0.5),
                          decimal::fromUnscaled(random.bounded(40), 2), xdecimal(random.bounded(40), 2)});
        }
        QList<int> all(table.columnCount());
        std::iota(all.begin(), all.end(), 0);
        FilterList filters(table);
        const TableModel model(table, all);

        for (QList<int> columns :
             {QList<int>{0}, {1}, {2}, {3}, {4}, {5}, {6}, {0, 2}, {4, 5}, {0, 1, 2, 3, 4, 5, 6}}) {
            QItemSelection selection;
            for (const int column : columns)
                selection.append({model.index(0, column), model.index(model.rowCount() - 1, column)});
            const auto *filter = static_cast<ValueFilter *>(showOnlyValues(filters, model, selection));

            std::set<KeyValue> expected;
            for (int row = 0; row < model.rowCount(); ++row)
                expected.insert(filter->keyFromRecord(model.record(row)));
            const QList<KeyValue> keys = filter->getAllExcludedKeys();
            QCOMPARE(size_t(keys.size()), expected.size());
            for (const KeyValue &key : keys) {
                QVERIFY2(expected.erase(key) == 1,
                         seedMessage(seed, QString::number(columns.constFirst())).constData());
            }
        }
    }
};

QTEST_MAIN(tst_CellFilters)
#include "tst_cellfilters.moc"

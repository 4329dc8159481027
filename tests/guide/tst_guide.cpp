// SPDX-License-Identifier: MIT
// The mistakes of which the guide warns, each with what comes of it, and code that the guide shows beside that of the
// examples. The pages quote this file.
#include <data/exception.h>
#include <data/indexlist.h>
#include <data/keyvalue.h>
#include <data/record.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/parallel/task.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/keytext.h>
#include <hostkit/text/translations.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filteredtableview.h>
#include <hostkit/views/filterpanel.h>
#include <hostkit/views/filterstorage.h>
#include <hostkit/views/tableexport.h>
#include <settings/settingsmodel.h>
#include <sources/sourceconnection.h>
#include <support/sqlitefile.h>

#include <QBuffer>
#include <QFile>
#include <QHeaderView>
#include <QListView>
#include <QMenu>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

using namespace sito;
using namespace Qt::StringLiterals;

static_assert(!std::is_base_of_v<std::exception, Exception>);

namespace {

int shownRows(const MemoryTable &table, const FilterFunc &excluded)
{
    int rows = 0;
    for (unsigned char *row : *table.masterIndex())
        rows += excluded.filter(Record(row)) ? 0 : 1;
    return rows;
}

/// The predicate of a filter by price.
class IsDear : public FilterFunc
{
public:
    IsDear(int column, double limit, QObject *parent) : FilterFunc(parent), m_column(column), m_limit(limit)
    {
    }
    bool filter(const Record &record) const override
    {
        const Field price = record.field(m_column);
        return price.isPresent() && price.value<double>() >= m_limit;
    }

private:
    const int m_column;
    const double m_limit;
};

/// A filter without Q_OBJECT: its meta-object is that of its base.
class CodesFilter : public ColumnsFilter
{
public:
    using ColumnsFilter::ColumnsFilter;
    QString keyToText(const KeyValue &key) const override { return key.first().toString() + u'…'; }
};

// Compiled, and never called.

[[maybe_unused]] void waitWithTheLock(const Table &table, TableModel &model)
{
    table.lock();
    model.reload();
    model.waitForPass(); // never returns: the pass waits for the lock that this thread holds
    table.unlock();
}

[[maybe_unused]] void showWithoutProxy(QTreeView &view, SettingsModel &model)
{
    view.setModel(&model); // wrong: the view needs a SettingsViewProxy
}

} // namespace

class tst_Guide : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    MemoryTable m_quotes{u"quotes"_s,
                         {{u"code"_s, FieldType::String, true}, {u"price"_s, FieldType::Double, true}}};

    void appendQuotes()
    {
        m_quotes.append(
            {{u"GAZP"_s, 161.5}, {u"SBER"_s, 255.25}, {u"VTBR"_s, 0.5}, {u""_s, std::monostate()}});
    }
    QString file(const QString &name) const { return m_directory.filePath(name); }

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_quotes.clear();
        appendQuotes();
    }

    // first-table.md

    void anEmptyTextIsAValue()
    {
        const Field code = m_quotes.row(3).field(0);
        const Field price = m_quotes.row(3).field(1);

        QVERIFY(code.toString().isEmpty() && price.toString().isEmpty()); // one of them is absent
        QVERIFY(code.isPresent() && !price.isPresent());                  // which one
    }

    // filtering.md

    void aPredicateIsACopy()
    {
        const MemoryTable &table = m_quotes;
        ColumnsFilter filter(m_quotes, {0});
        const std::unique_ptr<FilterFunc> excluded(filter.createFilterFunc(nullptr));
        filter.addExcludedKey(filter.keyFromRecord(table.row(1)));
        QCOMPARE(shownRows(table, *excluded), 4); // still shows the row
        const std::unique_ptr<FilterFunc> excludedNow(filter.createFilterFunc(nullptr));
        QCOMPARE(shownRows(table, *excludedNow), 3);
    }

    // saving-filters.md

    void valueHasNoEscapes()
    {
        m_quotes.append({u"SU26|SU29"_s, 98.5});
        ColumnsFilter filter(m_quotes, {0});
        filter.addExcludedKey(filter.keyFromRecord(m_quotes.row(4)));

        ColumnsFilter restored(m_quotes, {0});
        restored.setValue(filter.value());
        QCOMPARE(restored.getAllExcludedKeys().size(), 2); // "SU26" and "SU29"

        keysFromJson(restored, keysToJson(filter));
        QCOMPARE(restored.getAllExcludedKeys().size(), 1); // "SU26|SU29"
    }

    void setValueKeepsTheKeysBeforeTheError()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: "_s));
        ColumnsFilter filter(m_quotes, {0, 1});
        const QList<KeyValue> before = filter.getAllExcludedKeys();
        try {
            filter.setValue(u"GAZP,161.5|SBER"_s);
        } catch (const Exception &) {
            QCOMPARE(filter.value(), u"GAZP,161.5"_s); // half of the text
            filter.setAllExcludedKeys(before);
        }
        QVERIFY(!filter.hasValue());
    }

    // predicates.md

    void fastComparesBytes()
    {
        MemoryTable table(u"trades"_s, {{u"price"_s, FieldType::Decimal, false, 2}});
        table.append({decimal::fromUnscaled(150, 2)}); // 1.50
        table.append({decimal::fromUnscaled(15, 1)});  // 1.5, the same number
        const QList<KeyValue> keys{KeyValue{FieldValue(table.row(1).field(0))}};
        QVERIFY(KeyFilterFunc(&table, keys, {0}).filter(table.row(0)));
        QVERIFY(!KeyFilterFunc_Fast(&table, keys, {0}).filter(table.row(0))); // equal numbers, other bytes
    }

    // implementing-a-database.md

    void rowsThatAreNotClearedAreNotFound()
    {
        MemoryTable table(u"trades"_s, {{u"stock"_s, FieldType::Int}, {u"session"_s, FieldType::Int}});
        table.append({qint32(4), qint32(2)});
        table.append({qint32(4), qint32(2)});
        const Record row = table.row(0);
        const QList<KeyValue> keys{
            KeyValue{FieldValue(table.row(1).field(0)), FieldValue(table.row(1).field(1))}};
        QVERIFY(KeyFilterFunc_Fast(&table, keys, {0, 1}).filter(row));

        // What a row has between its columns if its memory was taken as it was.
        std::memset(row.field(0).data + sizeof(qint32), 0xDB, sizeof(qint32));
        QVERIFY(KeyFilterFunc(&table, keys, {0, 1}).filter(row));
        QVERIFY(!KeyFilterFunc_Fast(&table, keys, {0, 1}).filter(row)); // equal values, not found
    }

    // own-filters.md

    void aPredicateOfAClass()
    {
        const IsDear dear(1, 200, nullptr);
        QCOMPARE(shownRows(m_quotes, dear), 3);
    }

    void aFilterWithoutQObjectIsStoredAsItsBase()
    {
        QSettings store(file(u"without.ini"_s), QSettings::IniFormat);
        FilterStorage storage(store);
        storage.registerHostKinds();
        FilterList filters(m_quotes);
        auto *codes = new CodesFilter(m_quotes, {0}); // without Q_OBJECT
        codes->setValue(u"GAZP"_s);
        filters.add(codes);
        storage.save(u"quotes"_s, filters);

        FilterList restored(m_quotes);
        storage.restore(u"quotes"_s, restored);
        QVERIFY(!dynamic_cast<CodesFilter *>(restored.filters().first())); // a plain ColumnsFilter
        QCOMPARE(restored.filters().first()->text(), u"GAZP"_s);
    }

    // errors.md

    void neitherExceptionNorQStringIsAStdException()
    {
        ColumnsFilter filter(m_quotes, {0, 1});
        QString shown;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: "_s));
        try {
            try {
                filter.setValue(u"SBER"_s);
            } catch (const std::exception &problem) { // catches no Exception, and no QString
                shown = QString::fromUtf8(problem.what());
            }
        } catch (...) {
            shown = u"passed by: "_s + currentExceptionText();
        }
        QVERIFY(shown.startsWith(u"passed by: "_s) && shown.size() > 20);
    }

    void oneTextForEverythingThatIsThrown()
    {
        ColumnsFilter filter(m_quotes, {0, 1});
        QString shown;
        QString message;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: "_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: "_s));
        try {
            filter.setValue(u"SBER"_s);
        } catch (...) {
            shown = currentExceptionText();
        }
        try {
            filter.setValue(u"SBER"_s);
        } catch (const Exception &problem) {
            message = problem.message();
        }
        QVERIFY(!message.isEmpty());
        QCOMPARE(shown, message);

        try {
            KeyFilterFunc_Fast(&m_quotes, {}, {}); // throws a QString
        } catch (...) {
            shown = currentExceptionText();
        }
        QCOMPARE(shown, u"Columns can't be empty"_s);
    }

    void anExceptionReportsItself()
    {
        QTest::ignoreMessage(QtWarningMsg, "Exception: There is no table 'shares'");
        QString shown;
        try {
            MemoryDatabase::instance().table(u"shares"_s);
        } catch (const Exception &problem) {
            shown = problem.message();
        }
        QCOMPARE(shown, u"There is no table 'shares'"_s);
    }

    // languages.md

    void aMessageDependsOnTheLanguage()
    {
        const std::exception_ptr problem = std::make_exception_ptr(std::bad_alloc());

        const auto isMemory = [&] { return exceptionText(problem).contains(u"памяти"_s); };
        QVERIFY(isMemory());
        const Translations translations(QLocale::English);
        QVERIFY(!isMemory()); // the same failure, in words of another language
    }

    // threads.md

    void aPassWaitsForTheLock()
    {
        TableModel model(m_quotes, {0, 1});
        QSignalSpy started(&model, &TableModel::passStarted);
        m_quotes.lock();
        model.reload();
        QTRY_COMPARE(started.size(), 1);
        QVERIFY(model.isPassRunning()); // for as long as this thread has the lock
        m_quotes.unlock();
        model.waitForPass();
        QVERIFY(model.isUpToDate());
    }

    void workUnderTheLock()
    {
        const MemoryTable &table = m_quotes;
        qint64 rows = 0;
        parallel::Task counting;
        counting.start<qint64>(
            [&table](const parallel::Context &context) {
                qint64 present = 0;
                parallel::underLock(table, context.stop, [&] {
                    for (unsigned char *row : *table.masterIndex()) {
                        context.stop.throwIfStopped();
                        present += table.dataPtr(row, 1).isPresent() ? 1 : 0;
                    }
                });
                return present;
            },
            [&rows](qint64 present) { rows = present; }, // in the thread of the Task
            [](const std::exception_ptr &problem) { qWarning().noquote() << exceptionText(problem); });
        counting.wait();
        QCOMPARE(rows, 3);
    }

    // changing-tables.md

    void aModelDoesNotObserveItsTable()
    {
        MemoryTable &table = m_quotes;
        TableModel model(table, {0, 1});
        table.append({u"LKOH"_s, 6500.0});
        QCOMPARE(model.rowCount(), 4); // the new row is not shown, and no pass will show it
        QVERIFY(!model.isPassRunning());
        model.reload();
        model.waitForPass();
        QCOMPARE(model.rowCount(), 5);
    }

    // table-view.md

    void aChangedValueIsToldToNobody()
    {
        TableModel model(m_quotes, {0, 1});
        FilterList filters(m_quotes);
        model.setFilters(&filters);
        auto *filter = new ColumnsFilter(m_quotes, {0});
        filter->setEnabled(true);
        filters.add(filter);
        model.waitForPass();

        filter->setValue(u"SBER"_s);
        QVERIFY(!model.isPassRunning()); // the view goes on showing the row
        filters.notifyChanged(filter);
        QVERIFY(model.isPassRunning());
    }

    // panel.md

    void aPanelOnlyAsks()
    {
        QSettings store(file(u"panel.ini"_s), QSettings::IniFormat);
        FilterStorage storage(store);
        storage.registerHostKinds();
        FilteredTableView view(m_quotes, {0, 1});
        FilterPanel panel;
        panel.setFilters(view.filters());
        view.filters()->add(new ColumnsFilter(m_quotes, {0}));
        QStringList messages;
        const auto show = [&messages](const QString &message) { messages += message; };

        QObject::connect(&panel, &FilterPanel::saveRequested, &panel, [&] {
            try {
                storage.saveSet(u"quotes"_s, u"mine"_s, *panel.filters()); // ask the user for the name
                panel.setSetNames(storage.setNames(u"quotes"_s));
            } catch (...) {
                show(currentExceptionText());
            }
        });
        QObject::connect(&panel, &FilterPanel::restoreRequested, &panel, [&](const QString &name) {
            for (const QString &message : storage.restoreSet(u"quotes"_s, name, *panel.filters()))
                show(message);
        });

        const qsizetype before = panel.setsMenu()->actions().size();
        Q_EMIT panel.saveRequested();
        QVERIFY(panel.setsMenu()->actions().size() > before);
        view.filters()->clear();
        Q_EMIT panel.restoreRequested(u"mine"_s);
        QCOMPARE(view.filters()->filters().size(), 1);

        storage.saveSet(u"quotes"_s, u"yours"_s, *panel.filters()); // and no setSetNames()
        QCOMPARE(storage.setNames(u"quotes"_s).size(), 2);
        QVERIFY(!menuTexts(*panel.setsMenu()).contains(u"yours"_s)); // the menu does not offer it
        panel.setSetNames(storage.setNames(u"quotes"_s));
        QVERIFY(menuTexts(*panel.setsMenu()).contains(u"yours"_s));
        QCOMPARE(messages, QStringList());
    }
    static QString menuTexts(const QMenu &menu)
    {
        QString texts;
        for (const QAction *action : menu.actions())
            texts += action->text() + u'\n' + (action->menu() ? menuTexts(*action->menu()) : QString());
        return texts;
    }

    // value-lists.md

    void aListThatIsNotCountedAppliesNothing()
    {
        FilterList filters(m_quotes);
        auto *codes = new ValueListFilter(m_quotes, {0});
        codes->setSiblings(&filters);
        filters.add(codes);

        ValueListWidget list;
        codes->init(&list);  // returns at once: the values are counted in the background
        codes->apply(&list); // too early: does nothing
        QVERIFY(!list.isReady() && !codes->hasValue());

        QSignalSpy ready(&list, &ValueListWidget::ready);
        QVERIFY(ready.wait());
        QAbstractItemModel *values = list.findChild<QListView *>()->model();
        values->setData(values->index(1, 0), Qt::Unchecked, Qt::CheckStateRole); // as the user does
        codes->apply(&list);
        codes->setEnabled(codes->hasValue()); // the list of filters notifies the views
        QCOMPARE(codes->text(), u"кроме: GAZP"_s);
    }

    // export.md

    void exportsWhatTheHeaderShows()
    {
        FilteredTableView view(m_quotes, {0, 1});
        const TableModel &model = *view.tableModel();
        view.hideColumn(1);

        QBuffer all;
        QVERIFY(all.open(QIODevice::WriteOnly));
        TableExport::shown(model, {0, 1}).writeCsv(all); // wrong: the user has hidden column 1
        QCOMPARE(all.data().left(12), "code,price\r\n");

        QBuffer shown;
        QVERIFY(shown.open(QIODevice::WriteOnly));
        TableExport::shown(model, TableExport::shownSections(*view.horizontalHeader())).writeCsv(shown);
        QCOMPARE(shown.data(), "code\r\nGAZP\r\nSBER\r\nVTBR\r\n\"\"\r\n");
    }

    void exportsInTheBackground()
    {
        FilteredTableView view(m_quotes, {0, 1});
        const QString fileName = file(u"quotes.csv"_s);
        QString message;

        const QList<int> sections = TableExport::shownSections(*view.horizontalHeader());
        const TableExport rows = TableExport::shown(*view.tableModel(), sections);
        const auto write = [rows, fileName](const parallel::Context &context) {
            exportCsvFile(fileName, rows, {}, context);
        };
        parallel::Task writing;
        writing.start(
            write, [&] { message = u"written"_s; },
            [&](const std::exception_ptr &problem) { message = exceptionText(problem); });
        writing.wait(); // an application goes on; requestStop() ends the work

        QCOMPARE(message, u"written"_s);
        QVERIFY(QFile::exists(fileName));
    }

    // loaders.md

    void oneOperationAtATime()
    {
        const QString fileName =
            makeSqliteFile(file(u"quotes.sqlite"_s), {u"CREATE TABLE quotes (price INT)"_s});
        QStringList answers;
        SourceConnection connection;
        QObject::connect(&connection, &SourceConnection::opened, &connection,
                         [&] { answers += u"opened"_s; });
        QObject::connect(&connection, &SourceConnection::loaded, &connection,
                         [&] { answers += u"loaded"_s; });
        QObject::connect(&connection, &SourceConnection::failed, &connection,
                         [&] { answers += u"failed"_s; });
        QObject::connect(&connection, &SourceConnection::cancelled, &connection,
                         [&] { answers += u"cancelled"_s; });

        connection.open(SourceLocation::fromFile(fileName));
        connection.load({u"quotes"_s}); // wrong: cancels the opening. Load in a slot of opened()
        QTRY_VERIFY(!connection.isBusy());
        QCOMPARE(answers, QStringList({u"cancelled"_s, u"failed"_s}));
    }

    void theFirstRowsOfALargeTableComeAtOnce()
    {
        const QString fileName = makeSqliteFile(
            file(u"large.sqlite"_s),
            {u"CREATE TABLE quotes (id INTEGER PRIMARY KEY, price INT)"_s,
             u"INSERT INTO quotes WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE "
             "i < 30000) SELECT i, i % 700 FROM n"_s});
        SourceConnection connection;
        connection.open(SourceLocation::fromFile(fileName));
        QTRY_VERIFY(connection.isOpen());
        std::unique_ptr<TableModel> model;
        int rowsAtFirst = 0;

        QObject::connect(&connection, &SourceConnection::loaded, &connection, [&] {
            MemoryTable *table = MemoryDatabase::instance().table(u"quotes"_s);
            model = std::make_unique<TableModel>(*table, QList<int>{0, 1});
            model->follow(&table->changes());
            if (!connection.isComplete(u"quotes"_s))
                connection.refresh({u"quotes"_s}); // wrong without it: ten thousand rows look like all
        });
        connection.load({u"quotes"_s}, SourceConnection::Extent::Beginning);

        QObject::connect(&connection, &SourceConnection::loaded, &connection,
                         [&] { rowsAtFirst = model->rowCount(); });
        QTRY_VERIFY(connection.isComplete(u"quotes"_s));
        QCOMPARE(rowsAtFirst, 10'000);
        QTRY_COMPARE(model->rowCount(), 30'000);
        model.reset();
        connection.closeTables();
    }

    void aRefreshBringsInWhatHasChanged()
    {
        const QString fileName = makeSqliteFile(file(u"live.sqlite"_s),
                                                {u"CREATE TABLE quotes (id INTEGER PRIMARY KEY, price INT)"_s,
                                                 u"INSERT INTO quotes VALUES (1, 255), (2, 161)"_s});
        SourceConnection connection;
        QObject::connect(&connection, &SourceConnection::opened, &connection,
                         [&] { connection.load({u"quotes"_s}); });
        connection.open(SourceLocation::fromFile(fileName));
        QTRY_COMPARE(connection.loadedTables(), QStringList(u"quotes"_s));
        MemoryTable *table = MemoryDatabase::instance().table(u"quotes"_s);
        auto model = std::make_unique<TableModel>(*table, QList<int>{0, 1});
        QString told;
        makeSqliteFile(fileName, {u"INSERT INTO quotes VALUES (3, 6500)"_s});

        model->follow(&table->changes());
        QObject::connect(&connection, &SourceConnection::refreshed, &connection,
                         [&](const QList<SourceConnection::RefreshedTable> &tables) {
                             told = u"%1 rows are new"_s.arg(tables.first().counts.added);
                         });
        connection.refresh({u"quotes"_s});

        QTRY_COMPARE(told, u"1 rows are new"_s);
        QTRY_COMPARE(model->rowCount(), 3);
        model.reset();
        connection.closeTables();
    }

    // settings.md

    void aMergeAnnouncesRowsUnderAParentOfItsOwn()
    {
        QSettings store(file(u"settings.ini"_s), QSettings::IniFormat);
        store.setValue(u"size"_s, 800);
        SettingsModel model;
        model.setSettings(&store);
        SettingsViewProxy proxy;
        proxy.setSourceModel(&model);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy shown(&proxy, &QAbstractItemModel::rowsInserted);

        store.setValue(u"title"_s, u"Quotes"_s);
        model.refresh();

        QVERIFY(inserted.first().first().toModelIndex().isValid()); // below a row that is no row of the model
        QVERIFY(!shown.first().first().toModelIndex().isValid());   // at the top, where it is
    }

    void anIniFileKnowsFewTypes()
    {
        const QString fileName = file(u"types.ini"_s);
        {
            QSettings store(fileName, QSettings::IniFormat);
            store.setValue(u"codes"_s, QStringList{u"SBER"_s});
        }
        QFile::copy(fileName, file(u"copy.ini"_s)); // a store that has not seen the list itself
        QSettings store(file(u"copy.ini"_s), QSettings::IniFormat);
        const QVariant codes = store.value(u"codes"_s);
        QVERIFY(codes.typeId() != QMetaType::QStringList); // a list of one text is read as a text
        QCOMPARE(codes.toStringList(), QStringList{u"SBER"_s});
    }
};

QTEST_MAIN(tst_Guide)

#include "tst_guide.moc"

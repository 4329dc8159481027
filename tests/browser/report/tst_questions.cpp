// SPDX-License-Identifier: MIT
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/views/tableexport.h>
#include <sources/tableloader.h>

#include <data/keyvalue.h>
#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QBuffer>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <algorithm>
#include <memory>
#include <numeric>
#include <vector>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QString connectionName = u"tst_questions"_s;

/// One table of the sample as it was loaded, and what SQLite calls its rows.
struct Loaded
{
    std::unique_ptr<MemoryTable> table;
    QList<qint64> rowIds;
};

/// What SQL calls \a column.
QString quoted(const QString &column)
{
    return u'"' + column + u'"';
}

/// What SQLite sorts as the column is to be sorted: dates stand there as texts.
QString sortTerm(const ColumnSpec &column)
{
    if (column.type != FieldType::DateTime)
        return quoted(column.name);
    return u"CASE WHEN %1 = '' THEN 0 ELSE CAST(strftime('%s', %1) AS INTEGER) END"_s.arg(
        quoted(column.name));
}

/// How a CSV file writes what SQLite holds; nothing for an absent value.
QString csvText(const QVariant &value, const ColumnSpec &column)
{
    if (value.isNull())
        return QString();
    QString text = value.toString();
    switch (column.type) {
    case FieldType::Decimal:
        text = QString::number(value.toDouble(), 'f', column.length);
        break;
    case FieldType::DateTime:
        text.replace(u'-', u'.');
        if (text.size() == 10)
            text += u" 00:00:00"_s;
        if (!text.isEmpty())
            text += u".000"_s;
        break;
    default:
        break;
    }
    const bool isPlain = !text.isEmpty() && text == text.trimmed() && !text.contains(u',') &&
                         !text.contains(u'"') && !text.contains(u'\n') && !text.contains(u'\r');
    return isPlain ? text : u'"' + text.replace(u'"', u"\"\""_s) + u'"';
}

} // namespace

/// The tables of the sample, filtered, sorted and exported at random, and SQLite asked the same.
class tst_Questions : public QObject
{
    Q_OBJECT
private:
    std::vector<Loaded> m_tables;

    static QSqlQuery ask(const QString &sql)
    {
        QSqlQuery query(QSqlDatabase::database(connectionName));
        query.setForwardOnly(true);
        if (!query.exec(sql))
            qWarning("%s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
        return query;
    }

private Q_SLOTS:
    void initTestCase()
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName);
        database.setDatabaseName(QStringLiteral(SITO_SAMPLE));
        database.setConnectOptions(u"QSQLITE_OPEN_READONLY"_s);
        QVERIFY(database.open());
        const TableLoader loader(database);
        for (const QString &name : loader.tableNames()) {
            Loaded loaded{loader.load(name), {}};
            QSqlQuery query = ask(u"SELECT rowid FROM "_s + name);
            while (query.next())
                loaded.rowIds.append(query.value(0).toLongLong());
            QCOMPARE(loaded.rowIds.size(), loaded.table->rowCount());
            QVERIFY(std::is_sorted(loaded.rowIds.begin(), loaded.rowIds.end()));
            m_tables.push_back(std::move(loaded));
        }
        QCOMPARE(m_tables.size(), 3);
    }
    void init() { failOnAnyWarning(); }
    void cleanupTestCase() { QSqlDatabase::removeDatabase(connectionName); }

    void agreesWithSqlite()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(std::initializer_list<quint32>{quint32(seed), quint32(seed >> 32)}.begin(),
                                2);
        int partly = 0;
        for (int round = 0; round < 300; ++round) {
            const Loaded &loaded = m_tables.at(size_t(random.bounded(3)));
            MemoryTable &table = *loaded.table;
            const auto randomColumns = [&random, &table](int most) {
                QList<int> columns;
                for (int count = random.bounded(1, most + 1); count > 0; --count) {
                    const int column = random.bounded(table.columnCount());
                    if (!columns.contains(column))
                        columns.append(column);
                }
                return columns;
            };

            // Filters whose keys are those of rows of the table, which SQLite is told as rows.
            FilterList filters(table);
            QStringList conditions{u"1"_s};
            for (int count = random.bounded(4); count > 0; --count) {
                const QList<int> columns = randomColumns(3);
                const bool keep = random.bounded(3) == 0;
                std::unique_ptr<ColumnsFilter> filter;
                if (keep)
                    filter = std::make_unique<ShowOnlyFilter>(table, columns);
                else
                    filter = std::make_unique<ColumnsFilter>(table, columns);
                QStringList matches;
                for (int keys = 1 + random.bounded(keep ? 100 : 40); keys > 0; --keys) {
                    const int row = random.bounded(int(loaded.rowIds.size()));
                    filter->addExcludedKey(filter->keyFromRecord(table.row(row)));
                    QStringList terms;
                    for (const int column : columns) {
                        terms.append(u"%1 IS (SELECT %1 FROM %2 WHERE rowid = %3)"_s.arg(
                            quoted(table.columnName(column)), table.name(),
                            QString::number(loaded.rowIds.at(row))));
                    }
                    matches.append(terms.join(u" AND "_s));
                }
                const bool enabled = random.bounded(5) != 0;
                filter->setEnabled(enabled);
                filters.add(filter.release());
                if (enabled)
                    conditions.append((keep ? u"("_s : u"NOT ("_s) + matches.join(u" OR "_s) + u')');
            }

            QList<TableModel::SortKey> sortKeys;
            QStringList order;
            if (random.bounded(3) != 0) {
                for (const int column : randomColumns(3)) {
                    const bool descending = random.bounded(2) == 0;
                    sortKeys.append({column, descending ? Qt::DescendingOrder : Qt::AscendingOrder});
                    order.append(sortTerm(table.columnSpec(column)) + (descending ? u" DESC"_s : u" ASC"_s));
                }
            }
            order.append(u"rowid"_s);
            QList<int> columns(table.columnCount());
            std::iota(columns.begin(), columns.end(), 0);
            std::shuffle(columns.begin(), columns.end(), random);
            const QList<int> sections = randomColumns(table.columnCount());

            TableModel model(table, columns);
            model.setFilters(&filters);
            model.setSortKeys(sortKeys);
            model.waitForPass();
            const TableExport exported = TableExport::shown(model, sections);
            QBuffer csv;
            csv.open(QIODevice::WriteOnly);
            exported.writeCsv(csv);

            QStringList names;
            for (const int section : sections)
                names.append(quoted(table.columnName(columns.at(section))));
            const QString question = u"SELECT %1 FROM %2 WHERE %3 ORDER BY %4"_s.arg(
                names.join(u", "_s), table.name(), conditions.join(u" AND "_s), order.join(u", "_s));
            QString expected;
            for (const int section : sections)
                expected += (expected.isEmpty() ? QString() : u","_s) + table.columnName(columns.at(section));
            expected += "\r\n"_L1;
            int rows = 0;
            QSqlQuery query = ask(question);
            for (; query.next(); ++rows) {
                for (int i = 0; i < int(sections.size()); ++i) {
                    expected += (i == 0 ? QString() : u","_s) +
                                csvText(query.value(i), table.columnSpec(columns.at(sections.at(i))));
                }
                expected += "\r\n"_L1;
            }
            QVERIFY2(model.rowCount() == rows,
                     seedMessage(seed, u"%1: %2, not %3"_s.arg(question).arg(model.rowCount()).arg(rows))
                         .constData());
            QVERIFY2(csv.data() == expected.toUtf8(), seedMessage(seed, question).constData());
            partly += rows > 0 && rows < int(table.rowCount()) ? 1 : 0;
        }
        QVERIFY(partly > 100); // the questions were worth asking
    }
};

QTEST_GUILESS_MAIN(tst_Questions)
#include "tst_questions.moc"

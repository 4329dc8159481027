// SPDX-License-Identifier: MIT
#include <sources/tableloader.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/foundtables.h>
#include <support/loadedtables.h>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QString connectionName = u"tst_foundtables"_s;

/// What is not shown by the text that SQLite gives for it, as "table.column: shown".
QStringList exceptions()
{
    // A number of floating point has the shortest text that reads back the same; SQLite writes 15 digits, and
    // a point.
    QStringList result{
        u"boxes.x0: -1"_s,
        u"boxes.x1: 1"_s,
        u"infinite_numbers.d: -inf"_s,
        u"infinite_numbers.d: 1"_s,
        u"infinite_numbers.d: inf"_s,
        u"infinite_numbers.n: -inf"_s,
        u"infinite_numbers.n: inf"_s,
        u"integers_beyond_64_bits.n: 9223372036854775808"_s,
        u"integers_beyond_64_bits.u: 18446744073709551616"_s,
    };
    // All numbers of a decimal column have the same number of digits after the point.
    result += {
        u"decimals_longer_than_declared.p: 2.000"_s,
        u"decimals_longer_than_declared.q: 123456.50"_s,
        u"decimals_longer_than_declared.q: 2.00"_s,
    };
    // Date-times have one form.
    result += {
        u"plain_dates_and_times.s: 2017.01.31 14:30:00.125"_s,
        u"plain_dates_and_times.t: 2017.01.31 14:30:00.000"_s,
    };
    // Bytes that are no UTF-8 are no characters; what a program shows for them is its own choice.
    result += {
        u"texts_that_are_no_utf8.t: a\\xE2\\x82"_s,
        u"texts_that_are_no_utf8.t: caf\\xE9"_s,
        u"texts_that_are_no_utf8.v: \\xC3"_s,
        u"texts_that_are_no_utf8.v: \\xFFA"_s,
    };
    return result;
}

} // namespace

/// Loads the tables of foundtables.sql and compares each cell with what SQLite itself makes a text of.
class tst_FoundTables : public QObject
{
    Q_OBJECT
private:
    QSqlDatabase connection() const { return QSqlDatabase::database(connectionName); }

    /// The texts of the values in \a table, row by row.
    QList<QStringList> oracle(const QString &table, int columns) const
    {
        QStringList names;
        QStringList values;
        for (int i = 0; i < columns; ++i) {
            names.append(u"c%1"_s.arg(i));
            values.append(u"typeof(c%1), CAST(CAST(c%1 AS TEXT) AS BLOB), length(c%1)"_s.arg(i));
        }
        QList<QStringList> rows;
        QSqlQuery query(connection());
        if (!query.exec(u"WITH r(%1) AS (SELECT * FROM \"%2\") SELECT %3 FROM r"_s.arg(
                names.join(u','), table, values.join(u','))))
            return {{query.lastError().text()}};
        while (query.next()) {
            QStringList row;
            for (int i = 0; i < columns; ++i) {
                const QString kind = query.value(3 * i).toString();
                const QByteArray bytes = query.value(3 * i + 1).toByteArray();
                if (kind == "null"_L1)
                    row.append(u"NULL"_s);
                else
                    row.append(kind == "blob"_L1
                                   ? foundtables::bytesText(query.value(3 * i + 2).toLongLong(), bytes)
                                   : QString::fromUtf8(bytes));
            }
            rows.append(row);
        }
        return rows;
    }
    QStringList differences(const MemoryTable &table) const
    {
        const QList<QStringList> expected = oracle(table.name(), table.columnCount());
        if (expected.size() != table.rowCount())
            return {u"%1 has %2 rows, not %3"_s.arg(table.name()).arg(table.rowCount()).arg(expected.size())};
        QStringList result;
        for (qint64 row = 0; row < table.rowCount(); ++row) {
            for (int column = 0; column < table.columnCount(); ++column) {
                const QString text = cellText(table, row, column);
                if (text != expected.at(row).at(column))
                    result.append(u"%1.%2: %3"_s.arg(table.name(), table.columnName(column), text));
            }
        }
        return result;
    }

private Q_SLOTS:
    void initTestCase()
    {
        failOnAnyWarning();
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName);
        database.setDatabaseName(u":memory:"_s);
        QVERIFY(database.open());
        const QStringList script = foundtables::statements(QFINDTESTDATA("foundtables.sql"));
        QVERIFY(!script.isEmpty());
        for (const QString &statement : script) {
            QSqlQuery query(database);
            QVERIFY2(query.exec(statement), qPrintable(statement + query.lastError().text()));
        }
    }
    void cleanupTestCase() { QSqlDatabase::removeDatabase(connectionName); }

    void everyCellIsShown()
    {
        const TableLoader loader(connection());
        const QStringList names = loader.tableNames();
        QVERIFY2(names.size() >= 58, qPrintable(QString::number(names.size())));
        QStringList found;
        for (const QString &name : names) {
            QString failure = exceptionMessage([&] { found += differences(*loader.load(name)); });
            if (!failure.isEmpty())
                found.append(failure);
        }

        QStringList expected = exceptions();
        found.sort();
        expected.sort();
        for (qsizetype i = 0; i < std::min(found.size(), expected.size()); ++i)
            QCOMPARE(found.at(i), expected.at(i));
        QCOMPARE(found.size(), expected.size());
    }

    void typesHoldAllValues_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("columns");
        const auto row = [](const char *table, const char *columns) {
            QTest::newRow(table) << QString::fromLatin1(table) << QString::fromUtf8(columns);
        };
        row("untyped", "id Int(0), a String(0)?, b String(0)?");
        row("json_documents", "id Int(0), doc String(0)");
        row("pictures", "id Int(0), photo String(0)?");
        row("digests", "h String(0)?, r String(0)?");
        row("words_in_integers", "id Int(0)?, n String(0)?, s String(0)?");
        row("fractions_in_integers", "n Double(0)?, m Double(0)?");
        row("fractions_beside_large_integers", "n String(0)?");
        row("large_integers", "n Int64(0)?, m Int64(0)?");
        row("integers_beyond_64_bits", "n Double(0)?, u Double(0)?");
        row("infinite_numbers", "n Double(0)?, d Double(0)?, p String(0)?");
        row("words_in_decimals", "p String(0)?, q String(0)?");
        row("decimals_too_long", "p String(0)?, q String(0)?");
        row("decimals_longer_than_declared", "p Decimal(3)?, q Decimal(2)?");
        row("texts_longer_than_declared", "v VarChar(16)?, c VarChar(3)?");
        // A row has room for all that a VarChar may hold.
        row("one_long_text", "v String(0)?, w VarChar(255)?, p String(0)?");
        row("texts_that_are_no_utf8", "t String(0)?, v VarChar(10)?");
        row("nul_characters", "t String(0)?, v String(0)?");
        row("null_in_a_key", "code VarChar(3)?, n Int(0)?");
        row("dates", "d VarChar(10)?, e VarChar(10)");
        row("unix_seconds", "d VarChar(10)?, t String(0)?, s String(0)?");
        row("plain_dates_and_times", "t DateTime(0)?, s DateTime(0)?");
        row("day_first", "d VarChar(10)?, t String(0)?");
        row("from_a_sheet", "без имени (2) Int(0)?, a,b String(0)?, без имени String(0)?");
        row("a_view", "id Int(0)?, value String(0)?, more String(0)?");
    }
    void typesHoldAllValues()
    {
        QFETCH(QString, table);
        QFETCH(QString, columns);
        const auto loaded = TableLoader(connection()).load(table);

        QStringList types;
        for (int column = 0; column < loaded->columnCount(); ++column)
            types.append(typeText(loaded->columnSpec(column)));
        QCOMPARE(types.join(u", "_s), columns);
    }

    void notesTellWhatIsNotAsDeclared_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QStringList>("notes");
        const auto row = [](const char *table, const QStringList &notes) {
            QTest::newRow(table) << QString::fromLatin1(table) << notes;
        };
        row("dates", {});
        row("plain_dates_and_times", {});
        row("json_documents", {u"Столбец «doc» типа «JSON» показан как текст"_s});
        row("a_count", {u"Столбец «kind» без объявленного типа показан как текст"_s,
                        u"Столбец «n» без объявленного типа показан как текст"_s});
        row("pictures", {u"Столбец «photo»: вместо байтов показаны их число и начало"_s});
        row("words_in_integers", {u"Столбец «n» («INTEGER») показан как текст: значение 'N/A' в строке 2"_s,
                                  u"Столбец «s» («SMALLINT») показан как текст: значение '-' в строке 4"_s});
        row("fractions_in_integers",
            {u"Столбец «n» («INTEGER») показан как дробные числа: значение 1.5 в строке 2"_s,
             u"Столбец «m» («BIGINT») показан как дробные числа: значение 0.25 в строке 2"_s});
        row("decimals_longer_than_declared",
            {u"Столбец «p» шире, чем объявлен («DECIMAL(5,2)»): значение 1.125 в строке 1"_s,
             u"Столбец «q» шире, чем объявлен («DECIMAL(5,2)»): значение 123456.5 в строке 1"_s});
        row("texts_that_are_no_utf8",
            {u"Столбец «t»: байты, которые не составляют текста, показаны как «\\xE9»"_s,
             u"Столбец «v»: байты, которые не составляют текста, показаны как «\\xE9»"_s});
        row("null_in_a_key", {u"В столбце «code» есть пустые значения, хотя он объявлен без них"_s});
    }
    void notesTellWhatIsNotAsDeclared()
    {
        QFETCH(QString, table);
        QFETCH(QStringList, notes);
        const TableLoader loader(connection());
        QCOMPARE(loader.columnNotes(table), QStringList());

        loader.load(table);

        QCOMPARE(loader.columnNotes(table), notes);
        QCOMPARE(loader.columnNotes(u"none"_s), QStringList());
    }

    void readsAgainOnlyWhatDoesNotFit_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QStringList>("progress");
        QTest::newRow("all fits") << u"plain_dates_and_times"_s << QStringList{u"0/2"_s, u"2/2"_s};
        QTest::newRow("of an unknown type") << u"json_documents"_s << QStringList{u"0/4"_s, u"4/4"_s};
        QTest::newRow("two columns do not fit")
            << u"words_in_integers"_s << QStringList{u"0/5"_s, u"0/5"_s, u"5/5"_s};
        QTest::newRow("a number fits no more in the second reading")
            << u"fractions_beside_large_integers"_s << QStringList{u"0/3"_s, u"0/3"_s, u"0/3"_s, u"3/3"_s};
        QTest::newRow("a view") << u"a_view"_s << QStringList{u"0/-1"_s, u"4/-1"_s};
    }
    void readsAgainOnlyWhatDoesNotFit()
    {
        QFETCH(QString, table);
        QFETCH(QStringList, progress);
        TableLoader loader(connection());
        QStringList steps;
        loader.setProgress([&steps](const TableLoader::Progress &state) {
            steps.append(u"%1/%2"_s.arg(state.rowsRead).arg(state.rowsTotal));
            return true;
        });

        loader.load(table);

        QCOMPARE(steps, progress);
    }

    void aViewWithoutAnEndIsCancelled()
    {
        QVERIFY(QSqlQuery(connection())
                    .exec(u"CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                          "FROM n) SELECT i FROM n"_s));
        TableLoader loader(connection());
        loader.setProgress([](const TableLoader::Progress &state) { return state.rowsRead < 8000; }, 1000);

        QCOMPARE(loader.rowCount(u"endless"_s), -1);
        QVERIFY(!loader.load(u"endless"_s));

        QVERIFY(QSqlQuery(connection()).exec(u"DROP VIEW endless"_s));
    }

    void strictHostsGetWhatFitsAlone()
    {
        TableLoader loader(connection());
        loader.setStrict(true);
        loader.setDigits(TableLoader::Digits::AsNeeded);
        QStringList opened;
        const QStringList names = loader.tableNames();
        for (const QString &name : names) {
            if (exceptionMessage([&] { loader.load(name); }).isEmpty())
                opened.append(name);
        }

        QCOMPARE(opened,
                 QStringList({u"boxes"_s, u"decimals_longer_than_declared"_s, u"from_a_sheet"_s,
                              u"large_integers"_s, u"numbers_in_texts"_s, u"one_long_text"_s,
                              u"plain_dates_and_times"_s, u"select"_s, u"texts_longer_than_declared"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_FoundTables)
#include "tst_foundtables.moc"
